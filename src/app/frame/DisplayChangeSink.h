// A hidden window, on its own thread, that turns the system's display, device and DPI notifications into a
// callback.
//
// Threading: Start and Stop by the owner's thread; the callback runs on the sink thread, once for each
// notification, and must return quickly.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <thread>

namespace quillmark {

class DisplayChangeSink {
 public:
  DisplayChangeSink() = default;
  ~DisplayChangeSink() { Stop(); }
  DisplayChangeSink(const DisplayChangeSink&) = delete;
  DisplayChangeSink& operator=(const DisplayChangeSink&) = delete;

  // Starts the sink, which must not be running. If the window cannot be created, there are no notifications
  // and no error. Raises std::system_error if the thread cannot be started.
  void Start(std::function<void()> callback);
  // Ends the thread and drops the callback; does nothing if not started. Raises std::system_error
  // (deadlock) if called from the callback.
  void Stop();

 private:
  static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void Run();

  std::thread thread;
  // Stop clears running and then reads hwnd; the sink thread publishes hwnd and then reads running. Both
  // are sequentially consistent, so at least one side sees the other and the loop always ends.
  std::atomic<bool> running{false};
  std::atomic<HWND> hwnd{nullptr};
  std::function<void()> callback;  // constant while the thread runs
};

}  // namespace quillmark
