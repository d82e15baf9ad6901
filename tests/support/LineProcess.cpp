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

LineProcess::LineProcess(const std::string& program, const std::vector<std::string>& arguments) {
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
  const int error = ::posix_spawn(&id_, program.c_str(), &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(in[1]);
  ::close(out[1]);
  input_ = in[0];
  output_ = out[0];
  if (error != 0) {
    ::close(input_);
    ::close(output_);
    throw std::runtime_error("cannot start " + program);
  }
}

LineProcess::~LineProcess() {
  Kill();
  ::close(input_);
  ::close(output_);
}

void LineProcess::Say(const std::string& line) {
  const std::string text = line + "\n";
  ::send(input_, text.data(), text.size(), MSG_NOSIGNAL);
}

std::string LineProcess::Hear() {
  while (true) {
    const std::size_t end = heard_.find('\n');
    if (end != std::string::npos) {
      const std::string line = heard_.substr(0, end);
      heard_.erase(0, end + 1);
      return line;
    }
    char bytes[256];
    const ssize_t count = ::read(output_, bytes, sizeof(bytes));
    if (count > 0) {
      heard_.append(bytes, static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return "";
    }
  }
}

void LineProcess::Kill() {
  if (id_ <= 0) return;
  ::kill(id_, SIGKILL);
  while (::waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
  }
  id_ = -1;
}

}  // namespace quillmark::test
