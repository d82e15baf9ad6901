// A child process that answers each line on its standard input with a line on its standard output. It ends
// with this object.
//
// Threading: one thread at a time.
#pragma once

#include <string>

#include "support/ChildProcess.h"

namespace quillmark::test {

class LineProcess {
 public:
  // Arguments are UTF-8. Throws std::system_error if the program cannot be started.
  explicit LineProcess(const std::string& program, std::vector<std::string> arguments = {})
      : process((arguments.insert(arguments.begin(), program), arguments), {.talks = true}) {}

  // Writes a line and returns the answer without its line end; empty if the process ended instead.
  std::string Ask(const std::string& line) {
    Say(line);
    return Hear();
  }
  // The two halves of Ask.
  void Say(const std::string& line) { process.Write(line + "\n"); }
  std::string Hear() {
    for (std::size_t end; (end = heard.find('\n')) == std::string::npos;) {
      char bytes[256];
      const std::size_t count = process.Read(bytes, sizeof bytes);
      if (count == 0) return "";
      heard.append(bytes, count);
    }
    std::string line = heard.substr(0, heard.find('\n'));
    heard.erase(0, line.size() + 1);
    if (line.ends_with('\r')) line.pop_back();
    return line;
  }

  // Ends it at once, without a chance to clean up, and waits for its end.
  void Kill() { process.Kill(); }
  int Id() const { return process.Pid(); }

 private:
  ChildProcess process;
  std::string heard;
};

}  // namespace quillmark::test
