#include "DesktopWindows.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>
#include <opencv2/core.hpp>

#include "core/RegionGeometry.h"
#include "host/Session.h"
#include "ipc/UniqueHandle.h"

namespace quillmark::control {
namespace {

Rect FromSystem(const RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

std::wstring TitleOf(HWND window) {
  wchar_t title[512];
  const int length = ::GetWindowTextW(window, title, static_cast<int>(std::size(title)));
  return {title, static_cast<std::size_t>(std::max(length, 0))};
}

std::wstring ProgramOf(HWND window) {
  DWORD processId = 0;
  ::GetWindowThreadProcessId(window, &processId);
  if (processId == 0) return {};
  const UniqueHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  wchar_t path[MAX_PATH];
  DWORD length = MAX_PATH;
  if (!process || !::QueryFullProcessImageNameW(process.Get(), 0, path, &length)) return {};
  return ::PathFindFileNameW(path);
}

BOOL CALLBACK Collect(HWND window, LPARAM list) {
  RECT outer{};
  if (!::GetWindowRect(window, &outer)) return TRUE;
  reinterpret_cast<std::vector<DesktopWindow>*>(list)->push_back(
      {window, TitleOf(window), ProgramOf(window), FromSystem(outer),
       ::IsWindowVisible(window) != FALSE && !host::IsCloaked(window), ::IsIconic(window) != FALSE});
  return TRUE;
}

}  // namespace

std::vector<DesktopWindow> ListWindows() {
  std::vector<DesktopWindow> windows;
  ::EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

Exposure ExposureOf(const Rect& area, HWND window, const std::vector<DesktopWindow>& windows,
                    const std::vector<Rect>& screens) {
  constexpr unsigned char OffScreen = 0, Visible = 1, Covered = 2;
  cv::Mat map(area.bottom - area.top, area.right - area.left, CV_8UC1, cv::Scalar(OffScreen));
  const auto paint = [&](const Rect& rect, unsigned char from, unsigned char to) {
    const Rect part = Intersect(rect, area);
    if (IsEmpty(part)) return false;
    cv::Mat piece = map(
        cv::Rect(part.left - area.left, part.top - area.top, part.right - part.left, part.bottom - part.top));
    const cv::Mat hit = piece == from;
    piece.setTo(to, hit);
    return cv::countNonZero(hit) != 0;
  };
  for (const Rect& screen : screens) paint(screen, OffScreen, Visible);

  Exposure exposure;
  for (const DesktopWindow& other : windows) {
    if (other.handle == window) break;  // what follows lies below
    if (other.Shown() && paint(other.outer, Visible, Covered)) exposure.covers.push_back(&other);
  }
  const auto share = [&](unsigned char value) {
    return cv::countNonZero(map == value) / static_cast<double>(map.total());
  };
  exposure.visible = share(Visible);
  exposure.covered = share(Covered);
  exposure.offScreen = share(OffScreen);
  return exposure;
}

}  // namespace quillmark::control
