// Makes calls after a delay, each on a short-lived thread. None outlives the owner: Stop cancels those that
// are still waiting and joins every thread.
//
// Threading: After from any thread; Stop by the owner's thread, not from inside a call.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace quillmark {

class DelayedCalls {
 public:
  DelayedCalls() = default;
  ~DelayedCalls() { Stop(); }
  DelayedCalls(const DelayedCalls&) = delete;
  DelayedCalls& operator=(const DelayedCalls&) = delete;

  // Runs the call after the delay, unless Stop comes first. The call must not raise.
  // Raises std::system_error when no thread can be started.
  void After(std::chrono::milliseconds delay, std::function<void()> call);
  // Drops waiting calls and finishes running ones. Idempotent; After does nothing from then on.
  void Stop();

 private:
  struct Timer {
    std::thread thread;
    bool done = false;
  };

  void JoinFinished();

  std::mutex mutex;  // guards everything below
  std::condition_variable wakeup;
  bool stopping = false;
  std::list<Timer> timers;
};

}  // namespace quillmark
