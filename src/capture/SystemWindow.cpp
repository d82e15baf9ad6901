#include "capture/SystemWindow.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace quillmark {
namespace {

struct CloseProcess {
  void operator()(void* process) const { ::CloseHandle(process); }
};
using ProcessHandle = std::unique_ptr<void, CloseProcess>;

}  // namespace

bool SystemWindow::Shown() const {
  return ::IsWindow(window) && ::IsWindowVisible(window) && !::IsIconic(window) &&
         ::GetAncestor(window, GA_ROOT) == window;
}

std::wstring_view SystemWindow::ImageFile() {
  DWORD processId = 0;
  ::GetWindowThreadProcessId(window, &processId);
  if (processId == 0) return {};
  const ProcessHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process) return {};
  DWORD length = MAX_PATH;
  if (!::QueryFullProcessImageNameW(process.get(), 0, text, &length)) return {};
  return ::PathFindFileNameW(text);
}

std::wstring_view SystemWindow::Title() {
  const int length = ::GetWindowTextW(window, text, static_cast<int>(std::size(text)));
  return {text, static_cast<std::size_t>(std::max(length, 0))};
}

bool SystemWindow::OuterRect(Rect& rect) const {
  RECT outer{};
  if (!::GetWindowRect(window, &outer)) return false;
  rect = {outer.left, outer.top, outer.right, outer.bottom};
  return true;
}

bool SystemWindow::ClientArea(Rect& area) const {
  RECT client{};
  if (!::GetClientRect(window, &client)) return false;
  POINT topLeft{client.left, client.top};
  POINT bottomRight{client.right, client.bottom};
  if (!::ClientToScreen(window, &topLeft) || !::ClientToScreen(window, &bottomRight)) return false;
  if (topLeft.x >= bottomRight.x || topLeft.y >= bottomRight.y) return false;
  area = {topLeft.x, topLeft.y, bottomRight.x, bottomRight.y};
  return true;
}

}  // namespace quillmark
