// Collects this process's debugger output by line while it exists.
//
// Threading: one capture at a time; its operations may be called from any thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quillmark::test {

class DebugOutputCapture {
 public:
  // Raises std::runtime_error if the output cannot be captured.
  DebugOutputCapture();
  ~DebugOutputCapture();

  // Complete lines so far, UTF-8, without their line ends. A line appears once the capture has read it, so a
  // test waits for the lines it expects. A host may lose characters outside its code page, and all but the
  // first 4 KiB of a call: tests look for ASCII in short lines.
  [[nodiscard]] std::vector<std::string> Lines() const;
  // How many of those lines contain the text.
  [[nodiscard]] std::size_t Count(std::string_view substring) const;

  // True as soon as a line contains the text; false if none does in time.
  [[nodiscard]] bool WaitForLine(std::string_view substring) const { return WaitForCount(substring, 1); }
  // The same for at least `count` such lines.
  [[nodiscard]] bool WaitForCount(std::string_view substring, std::size_t count) const;

 private:
  struct Host;
  // Adds what was written to the lines.
  void Collect(std::string_view bytes);
  std::size_t CountLocked(std::string_view substring) const;

  mutable std::mutex mutex;  // guards the lines and the beginning of the next
  mutable std::condition_variable changed;
  std::vector<std::string> lines;
  std::string rest;
  std::unique_ptr<Host> host;  // reads on its own thread
};

}  // namespace quillmark::test
