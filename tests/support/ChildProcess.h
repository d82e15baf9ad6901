// A program started by a test, ended with the object and with the test process.
//
// Threading: one thread at a time, which must outlive it: the child may end with the thread that made it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::test {

struct ChildSurroundings {
  std::filesystem::path folder{};            // working directory; empty for the test's
  std::filesystem::path output{}, errors{};  // files for its output; empty for none
  bool talks = false;  // Write and Read are connected to its input and output; it must end with its input
};

class ChildProcess {
 public:
  using Surroundings = ChildSurroundings;

  // Starts the program, given by its path or its name in PATH, with arguments in UTF-8. Throws
  // std::system_error if it cannot be started.
  explicit ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings = {});
  // Asks it to end if the host has a way to ask, else kills it; waits for its end.
  ~ChildProcess();

  // Its process id; 0 after Wait or Kill.
  int Pid() const;
  bool Ended() const;
  // Ends it at once, without a chance to clean up, and waits for the end.
  void Kill();
  // Waits for its end; returns the exit code, or -1 if it was killed or had been waited for.
  int Wait();

  // For a child that talks. Writing to one that has ended does nothing.
  void Write(std::string_view text);
  // Waits for output; 0 at its end.
  std::size_t Read(char* bytes, std::size_t capacity);

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test
