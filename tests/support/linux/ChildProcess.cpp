#include "support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace quillmark::test {

struct ChildProcess::Host {
  pid_t pid = 0;  // 0 once it has been waited for
};

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : host(std::make_unique<Host>()) {
  // The wrapper replaces itself by the program after asking the kernel to end it with its parent.
  std::vector<std::string> command{"setpriv", "--pdeathsig", "TERM"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& argument : command) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  const auto sendTo = [&](int descriptor, const std::filesystem::path& file) {
    ::posix_spawn_file_actions_addopen(&actions, descriptor, file.empty() ? "/dev/null" : file.c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC, 0644);
  };
  sendTo(STDOUT_FILENO, surroundings.output);
  sendTo(STDERR_FILENO, surroundings.errors);
  if (!surroundings.folder.empty()) {
    ::posix_spawn_file_actions_addchdir_np(&actions, surroundings.folder.c_str());
  }
  const int error = ::posix_spawnp(&host->pid, argv[0], &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), arguments.front());
}

ChildProcess::~ChildProcess() {
  if (host->pid != 0) ::kill(host->pid, SIGTERM);
  Wait();
}

int ChildProcess::Pid() const {
  return host->pid;
}

bool ChildProcess::Ended() const {
  if (host->pid == 0) return true;
  siginfo_t info{};
  const int result = ::waitid(P_PID, static_cast<id_t>(host->pid), &info, WEXITED | WNOHANG | WNOWAIT);
  return result == 0 && info.si_pid != 0;
}

void ChildProcess::Kill() {
  if (host->pid != 0) ::kill(host->pid, SIGKILL);
  Wait();
}

int ChildProcess::Wait() {
  if (host->pid == 0) return -1;
  int status = 0;
  while (::waitpid(host->pid, &status, 0) < 0 && errno == EINTR) {
  }
  host->pid = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace quillmark::test
