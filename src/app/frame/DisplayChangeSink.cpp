#include "app/frame/DisplayChangeSink.h"

#include <mutex>
#include <system_error>
#include <utility>

namespace quillmark {

namespace {
constexpr const wchar_t* kClassName = L"DupMsgSinkClass";
}

void DisplayChangeSink::Start(std::function<void()> newCallback) {
  callback = std::move(newCallback);
  running = true;
  thread = std::thread([this] { Run(); });
}

void DisplayChangeSink::Stop() {
  running = false;
  if (const HWND window = hwnd) ::PostMessageW(window, WM_QUIT, 0, 0);
  if (thread.get_id() == std::this_thread::get_id()) {
    // As a join would; the thread sanitizer does not allow a thread to join itself.
    throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
  }
  if (thread.joinable()) thread.join();
  hwnd = nullptr;
  callback = nullptr;
}

void DisplayChangeSink::Run() {
  static std::once_flag registered;
  std::call_once(registered, [] {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &DisplayChangeSink::WindowProcedure;
    windowClass.lpszClassName = kClassName;
    ::RegisterClassW(&windowClass);
  });

  // A hidden top-level window: message-only windows do not get the system's broadcasts.
  const HWND window = ::CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, nullptr, nullptr,
                                        ::GetModuleHandleW(nullptr), this);
  if (window == nullptr) return;
  hwnd = window;
  while (running) {
    MSG message{};
    if (::GetMessageW(&message, nullptr, 0, 0) <= 0) break;
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
  ::DestroyWindow(window);
}

LRESULT CALLBACK DisplayChangeSink::WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
  } else if (message == WM_DISPLAYCHANGE || message == WM_DEVICECHANGE || message == WM_DPICHANGED) {
    const auto* sink = reinterpret_cast<const DisplayChangeSink*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (sink != nullptr && sink->callback) sink->callback();
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace quillmark
