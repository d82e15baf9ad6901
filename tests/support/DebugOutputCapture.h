// The debugger output of this process as a test sees it: while one exists, every line is collected (and
// still shown where it would have gone). Pausing it makes the output block its writer once about 4 KiB
// wait unread, which is how a test stalls a thread that writes there.
//
// Threading: one capture at a time; its operations may be called from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace quillmark::test {

class DebugOutputCapture {
 public:
  using Clock = std::chrono::steady_clock;

  // Raises std::system_error when the output cannot be redirected.
  DebugOutputCapture();
  ~DebugOutputCapture();
  DebugOutputCapture(const DebugOutputCapture&) = delete;
  DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

  // Complete lines so far, UTF-8, without their line ends. A line appears once the capture has read it,
  // so a test that expects one waits for it.
  [[nodiscard]] std::vector<std::string> Lines() const;
  // How many of those lines hold the text.
  [[nodiscard]] std::size_t Count(std::string_view substring) const;

  // True as soon as a line holds the text; false when none does at the deadline.
  [[nodiscard]] bool WaitForLine(std::string_view substring,
                                 Clock::time_point deadline = Clock::now() + std::chrono::seconds(10)) const {
    return WaitForCount(substring, 1, deadline);
  }
  // The same for at least `count` such lines.
  [[nodiscard]] bool WaitForCount(std::string_view substring, std::size_t count,
                                  Clock::time_point deadline = Clock::now() + std::chrono::seconds(10)) const;

  void Pause();
  void Resume();

 private:
  void ReadUntilClosed();
  std::size_t CountLocked(std::string_view substring) const;

  mutable std::mutex mutex;  // guards lines and paused
  mutable std::condition_variable changed;
  std::vector<std::string> lines;
  bool paused = false;
  int savedOutput = -1;  // where the output went before
  int readEnd = -1;
  std::thread reader;
};

}  // namespace quillmark::test
