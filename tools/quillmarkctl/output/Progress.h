// A line on standard error with a command's elapsed time and, as a bar, its progress: on a terminal only, and
// only after the first second. A separate thread draws it, so that it keeps moving during long steps.
//
// Threading: one thread creates it, prints within Aside and ends it; Show may be called from any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace quillmark::control {

using Clock = std::chrono::steady_clock;

class Progress {
 public:
  // `what` names the work, in ASCII.
  explicit Progress(std::string what);
  ~Progress() { End(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // How much of the whole is done. There is no bar before the first call.
  template <class Number>
  void Show(Number done, Number whole) {
    const double part = whole > 0 ? static_cast<double>(done) / static_cast<double>(whole) : 0.0;
    share.store(part, std::memory_order_relaxed);
  }
  // Hides the line while `work` runs, and returns its result.
  template <class Work>
  decltype(auto) Aside(Work&& work) {
    const std::lock_guard lock(mutex);
    Erase();
    return std::forward<Work>(work)();
  }
  // Removes the line for good.
  void End();

 private:
  void Tick();
  // Both need the mutex while the ticker runs.
  void Draw();
  void Erase();

  const std::string what;
  const Clock::time_point start = Clock::now();
  std::atomic<double> share = -1.0;  // of the work done; below 0 if unknown

  std::mutex mutex;
  std::condition_variable ending;
  bool ended = false;
  std::string drawn;  // the line on the terminal
  // The variable itself may change with the first image.
  std::FILE* const terminal = stderr;

  std::thread ticker;  // on a terminal only
};

}  // namespace quillmark::control
