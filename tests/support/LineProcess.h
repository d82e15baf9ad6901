// A child process that is spoken to by lines: one written to its standard input, one read from its standard
// output. It is killed at the latest when this object goes.
//
// Threading: one thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace quillmark::test {

class LineProcess {
 public:
  // Arguments are UTF-8. Throws std::runtime_error when the program cannot be started.
  explicit LineProcess(const std::string& program, const std::vector<std::string>& arguments = {});
  ~LineProcess();
  LineProcess(const LineProcess&) = delete;
  LineProcess& operator=(const LineProcess&) = delete;

  // Writes a line and returns the answer without its line end; empty when the process ended instead.
  std::string Ask(const std::string& line) {
    Say(line);
    return Hear();
  }
  // As the two halves of Ask.
  void Say(const std::string& line);
  std::string Hear();

  // Ends it at once, without a chance to clean up, and waits until it is gone.
  void Kill();
  int Id() const;

 private:
  struct Host;
  // Waits for output; 0 at its end.
  std::size_t Read(char* bytes, std::size_t capacity);

  std::unique_ptr<Host> host;
  std::string heard;
};

}  // namespace quillmark::test
