// A program started by a test, ended with the object and with the test process.
//
// Threading: one thread at a time; made by a thread that outlives it, since the child ends with that thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillmark::test {

class ChildProcess {
 public:
  // Starts the program found by its name in PATH, with its output to the test's error output when `loud`.
  // Descriptors without FD_CLOEXEC are inherited. Throws std::system_error when it cannot be started.
  explicit ChildProcess(std::vector<std::string> arguments, bool loud = false);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t Pid() const { return pid; }
  // Sends the signal and waits for the end.
  void End(int signal);
  // Waits for the end; the exit code, or -1 when a signal ended it or it had been waited for.
  int Wait();

 private:
  pid_t pid = 0;  // 0 once it has been waited for
};

}  // namespace quillmark::test
