#include "support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace quillmark::test {

ChildProcess::ChildProcess(std::vector<std::string> arguments, bool loud) {
  const std::string program = arguments.front();
  // The wrapper replaces itself by the program after asking the kernel to end it with its parent.
  arguments.insert(arguments.begin(), {"setpriv", "--pdeathsig", "TERM"});
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!loud) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  }
  const int error = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), program);
}

ChildProcess::~ChildProcess() {
  End(SIGTERM);
}

void ChildProcess::End(int signal) {
  if (pid == 0) return;
  kill(pid, signal);
  Wait();
}

int ChildProcess::Wait() {
  if (pid == 0) return -1;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  pid = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace quillmark::test
