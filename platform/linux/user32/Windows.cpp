// The window queries of user32, answered from the desktop's facts. The process's own message windows are not
// on the desktop: they exist, are hidden, and have a thread.
#include <unistd.h>
#include <windows.h>

#include <memory>
#include <optional>
#include <utility>

#include "kernel32/Errors.h"
#include "user32/Handles.h"

using namespace quillmark::layer;

namespace {

// Nothing, with ERROR_INVALID_WINDOW_HANDLE, if the handle is no window of the desktop.
std::optional<WindowFacts> Facts(HWND window) {
  auto facts = CurrentDesktop()->Window(ToWindowId(window));
  return facts ? facts : Fail(ERROR_INVALID_WINDOW_HANDLE, std::nullopt);
}

// Ends with the call, even if the callback throws.
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
  return FindOwnWindow(window, &threadId) || Facts(window);
}

BOOL WINAPI IsWindowVisible(HWND window) {
  const auto facts = Facts(window);
  return facts && facts->visible;
}

BOOL WINAPI IsIconic(HWND window) {
  const auto facts = Facts(window);
  return facts && facts->iconic;
}

HWND WINAPI GetAncestor(HWND window, UINT flags) {
  if (flags != GA_ROOT) return Fail(ERROR_INVALID_PARAMETER, HWND{});
  DWORD threadId = 0;
  if (FindOwnWindow(window, &threadId)) return window;
  const auto facts = Facts(window);
  return facts ? ToHandle(facts->root) : HWND{};
}

// X11 has no threads; the id of a process's main thread is that of the process.
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD processId) {
  DWORD threadId = 0;
  DWORD process = 0;
  if (FindOwnWindow(window, &threadId)) {
    process = static_cast<DWORD>(getpid());
  } else if (const auto facts = Facts(window)) {
    process = threadId = facts->processId;
  }
  if (process == 0) return Fail(ERROR_INVALID_WINDOW_HANDLE, DWORD{0});
  if (processId != nullptr) *processId = process;
  return threadId;
}

int WINAPI GetWindowTextW(HWND window, LPWSTR text, int capacity) {
  if (text == nullptr || capacity <= 0) return 0;
  const auto facts = Facts(window);
  const std::size_t length = facts ? facts->title.copy(text, static_cast<std::size_t>(capacity) - 1) : 0;
  text[length] = L'\0';
  return static_cast<int>(length);
}

BOOL WINAPI GetWindowRect(HWND window, RECT* rect) {
  if (rect == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto facts = Facts(window);
  if (facts) *rect = facts->outer;
  return facts.has_value();
}

BOOL WINAPI GetClientRect(HWND window, RECT* rect) {
  if (rect == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto facts = Facts(window);
  if (!facts) return FALSE;
  const RECT& client = facts->client;
  *rect = {0, 0, client.right - client.left, client.bottom - client.top};
  return TRUE;
}

BOOL WINAPI ClientToScreen(HWND window, POINT* point) {
  if (point == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto facts = Facts(window);
  if (!facts) return FALSE;
  point->x += facts->client.left;
  point->y += facts->client.top;
  return TRUE;
}
