#include "core/engine/DelayedCalls.h"

#include <utility>

namespace quillmark {

void DelayedCalls::After(std::chrono::milliseconds delay, std::function<void()> call) {
  const auto deadline = std::chrono::steady_clock::now() + delay;
  const std::lock_guard lock(mutex);
  if (stopping) return;
  JoinFinished();
  const auto timer = timers.emplace(timers.end());
  try {
    // The thread reads its timer under the mutex, so after this assignment.
    timer->thread = std::thread([this, timer, deadline, call = std::move(call)] {
      std::unique_lock waiting(mutex);
      if (!wakeup.wait_until(waiting, deadline, [this] { return stopping; })) {
        waiting.unlock();
        call();
        waiting.lock();
      }
      timer->done = true;
    });
  } catch (...) {
    timers.erase(timer);
    throw;
  }
}

void DelayedCalls::Stop() {
  {
    const std::lock_guard lock(mutex);
    stopping = true;
  }
  wakeup.notify_all();
  // From here on nothing adds or removes a timer.
  for (Timer& timer : timers) {
    if (timer.thread.joinable()) timer.thread.join();
  }
}

void DelayedCalls::JoinFinished() {
  // A finished timer no longer needs the mutex, so the join is short.
  timers.remove_if([](Timer& timer) {
    if (!timer.done) return false;
    timer.thread.join();
    return true;
  });
}

}  // namespace quillmark
