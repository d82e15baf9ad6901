// The window queries of user32, each answered by one method of the desktop. The process's own message
// windows, which have no place on the desktop, exist, are hidden, and know their thread.
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "kernel32/Errors.h"
#include "user32/Handles.h"

using quillmark::layer::CurrentDesktop;
using quillmark::layer::Desktop;
using quillmark::layer::Fail;
using quillmark::layer::FindOwnWindow;
using quillmark::layer::ToHandle;
using quillmark::layer::ToWindowId;
using quillmark::layer::WindowId;

namespace {

BOOL NoSuchWindow() {
  return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
}

// Ends with the call, also by an exception of the callback.
struct Enumeration {
  explicit Enumeration(std::shared_ptr<Desktop> current) : desktop(std::move(current)) {
    desktop->BeginEnumeration();
  }
  ~Enumeration() { desktop->EndEnumeration(); }
  Enumeration(const Enumeration&) = delete;
  Enumeration& operator=(const Enumeration&) = delete;

  const std::shared_ptr<Desktop> desktop;
};

}  // namespace

BOOL WINAPI EnumWindows(WNDENUMPROC callback, LPARAM parameter) {
  if (callback == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const Enumeration enumeration(CurrentDesktop());
  for (const WindowId window : enumeration.desktop->TopLevelWindows()) {
    if (!callback(ToHandle(window), parameter)) return FALSE;
  }
  return TRUE;
}

BOOL WINAPI IsWindow(HWND window) {
  DWORD threadId = 0;
  if (FindOwnWindow(window, &threadId) || CurrentDesktop()->Exists(ToWindowId(window))) return TRUE;
  return NoSuchWindow();
}

BOOL WINAPI IsWindowVisible(HWND window) {
  return CurrentDesktop()->Visible(ToWindowId(window));
}

BOOL WINAPI IsIconic(HWND window) {
  return CurrentDesktop()->Iconic(ToWindowId(window));
}

HWND WINAPI GetAncestor(HWND window, UINT flags) {
  if (flags != GA_ROOT) return Fail(ERROR_INVALID_PARAMETER, HWND{});
  DWORD threadId = 0;
  if (FindOwnWindow(window, &threadId)) return window;
  const WindowId root = CurrentDesktop()->Root(ToWindowId(window));
  return root != 0 ? ToHandle(root) : Fail(ERROR_INVALID_WINDOW_HANDLE, HWND{});
}

// X11 knows no threads; a process's main thread has the process's number.
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD processId) {
  DWORD threadId = 0;
  DWORD process = 0;
  if (FindOwnWindow(window, &threadId)) {
    process = static_cast<DWORD>(getpid());
  } else {
    process = threadId = CurrentDesktop()->ProcessId(ToWindowId(window));
  }
  if (process == 0) return Fail(ERROR_INVALID_WINDOW_HANDLE, DWORD{0});
  if (processId != nullptr) *processId = process;
  return threadId;
}

int WINAPI GetWindowTextW(HWND window, LPWSTR text, int capacity) {
  if (text == nullptr || capacity <= 0) return 0;
  const std::wstring title = CurrentDesktop()->Title(ToWindowId(window));
  const std::size_t length = std::min(title.size(), static_cast<std::size_t>(capacity) - 1);
  std::copy_n(title.begin(), length, text);
  text[length] = L'\0';
  return static_cast<int>(length);
}

BOOL WINAPI GetWindowRect(HWND window, RECT* rect) {
  if (rect == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto outer = CurrentDesktop()->OuterRect(ToWindowId(window));
  if (!outer) return NoSuchWindow();
  *rect = *outer;
  return TRUE;
}

BOOL WINAPI GetClientRect(HWND window, RECT* rect) {
  if (rect == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto client = CurrentDesktop()->ClientRect(ToWindowId(window));
  if (!client) return NoSuchWindow();
  *rect = *client;
  return TRUE;
}

BOOL WINAPI ClientToScreen(HWND window, POINT* point) {
  if (point == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto origin = CurrentDesktop()->ClientOrigin(ToWindowId(window));
  if (!origin) return NoSuchWindow();
  point->x += origin->x;
  point->y += origin->y;
  return TRUE;
}
