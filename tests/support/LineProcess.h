// A child process that is spoken to by lines: one written to its standard input, one read from its standard
// output. It is killed at the latest when this object goes.
//
// Threading: one thread at a time.
#pragma once

#include <string>
#include <vector>

namespace quillmark::test {

class LineProcess {
 public:
  // Throws std::runtime_error when the program cannot be started.
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
  int Id() const { return id_; }

 private:
  int id_ = -1;
  int input_ = -1;   // to its standard input
  int output_ = -1;  // from its standard output
  std::string heard_;
};

}  // namespace quillmark::test
