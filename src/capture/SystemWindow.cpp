#include "capture/SystemWindow.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>

#include "platform/UniqueHandle.h"

namespace quillmark {
namespace {

std::wstring ReadImageFile(HWND window) {
  DWORD processId = 0;
  ::GetWindowThreadProcessId(window, &processId);
  if (processId == 0) return {};
  const UniqueHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process) return {};
  wchar_t path[MAX_PATH];
  DWORD length = MAX_PATH;
  if (!::QueryFullProcessImageNameW(process.Get(), 0, path, &length)) return {};
  return ::PathFindFileNameW(path);
}

std::wstring ReadTitle(HWND window) {
  wchar_t text[512];
  const int length = ::GetWindowTextW(window, text, static_cast<int>(std::size(text)));
  return {text, static_cast<std::size_t>(std::max(length, 0))};
}

}  // namespace

bool SystemWindow::Shown() {
  if (!shown) shown = Exists() && Visible() && !Minimised() && ::GetAncestor(window, GA_ROOT) == window;
  return *shown;
}

std::wstring_view SystemWindow::ImageFile() {
  if (!imageFile) imageFile = ReadImageFile(window);
  return *imageFile;
}

std::wstring_view SystemWindow::Title() {
  if (!title) title = ReadTitle(window);
  return *title;
}

bool SystemWindow::OuterRect(Rect& rect) {
  RECT measured{};
  if (!outer && ::GetWindowRect(window, &measured)) {
    outer = Rect{measured.left, measured.top, measured.right, measured.bottom};
  }
  if (outer) rect = *outer;
  return outer.has_value();
}

std::optional<Rect> SystemWindow::ClientArea() const {
  RECT client{};
  if (!::GetClientRect(window, &client)) return std::nullopt;
  POINT topLeft{client.left, client.top};
  POINT bottomRight{client.right, client.bottom};
  if (!::ClientToScreen(window, &topLeft) || !::ClientToScreen(window, &bottomRight)) return std::nullopt;
  return Rect{topLeft.x, topLeft.y, bottomRight.x, bottomRight.y};
}

std::vector<SystemWindow> ListWindows() {
  std::vector<SystemWindow> windows;
  const auto collect = [](HWND window, LPARAM list) -> BOOL {
    // While the windows are listed, the system answers from what it has at hand.
    (void)reinterpret_cast<std::vector<SystemWindow>*>(list)->emplace_back(window).Shown();
    return TRUE;
  };
  ::EnumWindows(collect, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

}  // namespace quillmark
