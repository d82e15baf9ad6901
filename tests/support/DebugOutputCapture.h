// The debugger output of this process as a test sees it: while one exists, every line is collected.
//
// Threading: one capture at a time; its operations may be called from any thread.
#pragma once

#include <chrono>
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
  using Clock = std::chrono::steady_clock;
  // Thousands of lines may stand before the one that is waited for, and a host may take milliseconds for
  // each.
  static constexpr std::chrono::seconds Patience{40};

  // Raises std::runtime_error when the output cannot be had.
  DebugOutputCapture();
  ~DebugOutputCapture();
  DebugOutputCapture(const DebugOutputCapture&) = delete;
  DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

  // Complete lines so far, UTF-8, without their line ends. A line appears once the capture has read it,
  // so a test that expects one waits for it. A host may lose what its code page cannot hold, and all but the
  // first 4 KiB of a call: tests look for ASCII in short lines.
  [[nodiscard]] std::vector<std::string> Lines() const;
  // How many of those lines hold the text.
  [[nodiscard]] std::size_t Count(std::string_view substring) const;

  // True as soon as a line holds the text; false when none does at the deadline.
  [[nodiscard]] bool WaitForLine(std::string_view substring,
                                 Clock::time_point deadline = Clock::now() + Patience) const {
    return WaitForCount(substring, 1, deadline);
  }
  // The same for at least `count` such lines.
  [[nodiscard]] bool WaitForCount(std::string_view substring, std::size_t count,
                                  Clock::time_point deadline = Clock::now() + Patience) const;

 private:
  struct Host;
  // Adds what was written to the lines.
  void Collect(std::string_view bytes);
  std::size_t CountLocked(std::string_view substring) const;

  mutable std::mutex mutex;  // guards the lines and what has come of the next one
  mutable std::condition_variable changed;
  std::vector<std::string> lines;
  std::string rest;
  std::unique_ptr<Host> host;  // reads on a thread of its own
};

}  // namespace quillmark::test
