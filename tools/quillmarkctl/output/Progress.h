// A line on standard error that says for how long a command has been at work and, by a bar, how far it has
// come: on a terminal only, and only when the work takes longer than a second. A thread of its own draws it,
// so that it goes on within a step that takes long.
//
// Threading: made, asked aside and ended by one thread, which prints nothing but aside; Show by any.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace quillmark::control {

class Progress {
 public:
  // `what` is at work, in ASCII.
  explicit Progress(std::string what);
  ~Progress() { End(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // How much of how much is done. There is no bar before it has been told.
  template <class Number>
  void Show(Number done, Number whole) {
    const double part = whole > 0 ? static_cast<double>(done) / static_cast<double>(whole) : 0.0;
    share.store(part, std::memory_order_relaxed);
  }
  // Works while the line is away, and returns what that returns.
  template <class Work>
  decltype(auto) Aside(Work&& work) {
    const std::lock_guard lock(mutex);
    Erase();
    return std::forward<Work>(work)();
  }
  // Takes the line away for good.
  void End();

 private:
  using Clock = std::chrono::steady_clock;

  void Tick();
  // These two need the mutex while the ticker runs.
  void Draw();
  void Erase();

  const std::string what;
  const Clock::time_point start = Clock::now();
  std::atomic<double> share = -1.0;  // of the work, below 0 while it is not known

  std::mutex mutex;
  std::condition_variable ending;
  bool ended = false;
  std::string drawn;  // what the terminal shows

  std::thread ticker;  // on a terminal only
};

}  // namespace quillmark::control
