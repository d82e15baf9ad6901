#include "support/LineProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace quillmark::test {

struct LineProcess::Host {
  int id = -1;
  int input = -1;   // to its standard input
  int output = -1;  // from its standard output
};

LineProcess::LineProcess(const std::string& program, const std::vector<std::string>& arguments)
    : host(std::make_unique<Host>()) {
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  // Sockets, not pipes: a write to a dead process is then an error, not a signal.
  int in[2], out[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, in) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make pipes");
  }
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, in[1], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  const int error = ::posix_spawn(&host->id, program.c_str(), &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(in[1]);
  ::close(out[1]);
  host->input = in[0];
  host->output = out[0];
  if (error != 0) {
    ::close(host->input);
    ::close(host->output);
    throw std::runtime_error("cannot start " + program);
  }
}

LineProcess::~LineProcess() {
  Kill();
  ::close(host->input);
  ::close(host->output);
}

void LineProcess::Say(const std::string& line) {
  const std::string text = line + "\n";
  ::send(host->input, text.data(), text.size(), MSG_NOSIGNAL);
}

std::size_t LineProcess::Read(char* bytes, std::size_t capacity) {
  while (true) {
    const ssize_t count = ::read(host->output, bytes, capacity);
    if (count >= 0 || errno != EINTR) return count > 0 ? static_cast<std::size_t>(count) : 0;
  }
}

void LineProcess::Kill() {
  if (host->id <= 0) return;
  ::kill(host->id, SIGKILL);
  while (::waitpid(host->id, nullptr, 0) < 0 && errno == EINTR) {
  }
  host->id = -1;
}

int LineProcess::Id() const {
  return host->id;
}

}  // namespace quillmark::test
