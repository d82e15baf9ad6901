#include "support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace quillmark::test {

struct ChildProcess::Host {
  pid_t pid = 0;                // 0 once it has been waited for
  int input = -1, output = -1;  // this side of a child's that talks
};

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : host(std::make_unique<Host>()) {
  // The wrapper replaces itself by the program after asking the kernel to end it with its parent.
  std::vector<std::string> command;
  if (!surroundings.talks) command = {"setpriv", "--pdeathsig", "TERM"};
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
  int theirs[2] = {-1, -1};
  if (surroundings.talks) {
    // Sockets, not pipes: a write to a dead process is then an error, not a signal.
    for (int i = 0; i < 2; ++i) {
      int ends[2];
      if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
      }
      theirs[i] = ends[1];
      (i == 0 ? host->input : host->output) = ends[0];
      ::posix_spawn_file_actions_adddup2(&actions, theirs[i], i == 0 ? STDIN_FILENO : STDOUT_FILENO);
    }
  } else {
    sendTo(STDOUT_FILENO, surroundings.output);
    sendTo(STDERR_FILENO, surroundings.errors);
  }
  if (!surroundings.folder.empty()) {
    ::posix_spawn_file_actions_addchdir_np(&actions, surroundings.folder.c_str());
  }
  const int error = ::posix_spawnp(&host->pid, argv[0], &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  for (const int end : theirs) ::close(end);
  if (error != 0) throw std::system_error(error, std::generic_category(), arguments.front());
}

ChildProcess::~ChildProcess() {
  if (host->pid != 0) ::kill(host->pid, host->input < 0 ? SIGTERM : SIGKILL);
  Wait();
  ::close(host->input);
  ::close(host->output);
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

void ChildProcess::Write(std::string_view text) {
  ::send(host->input, text.data(), text.size(), MSG_NOSIGNAL);
}

std::size_t ChildProcess::Read(char* bytes, std::size_t capacity) {
  ssize_t count;
  do {
    count = ::read(host->output, bytes, capacity);
  } while (count < 0 && errno == EINTR);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

}  // namespace quillmark::test
