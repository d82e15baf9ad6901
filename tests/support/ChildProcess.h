// A program started by a test, ended with the object and with the test process.
//
// Threading: one thread at a time; made by a thread that outlives it, since the child may end with that
// thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::test {

struct ChildSurroundings {
  std::filesystem::path folder{};            // working directory; empty for the test's own
  std::filesystem::path output{}, errors{};  // files that its output goes to; empty for nowhere
  bool talks = false;  // its input and output are Write and Read; it has to end with its input
};

class ChildProcess {
 public:
  using Surroundings = ChildSurroundings;

  // Starts the program, found by its path or by its name in PATH, with arguments in UTF-8. Throws
  // std::system_error when it cannot be started.
  explicit ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});
  // Asks it to end where the host knows a way to ask, else kills it; waits for the end.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Its number, 0 once it has been waited for.
  int Pid() const;
  bool Ended() const;
  // Ends it at once, without a chance to clean up, and waits for the end.
  void Kill();
  // Waits for the end; the exit code, or -1 when it was killed or had been waited for.
  int Wait();

  // To and from a child that talks. Writing to one that has ended does nothing.
  void Write(std::string_view text);
  // Waits for output; 0 at its end.
  std::size_t Read(char* bytes, std::size_t capacity);

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test
