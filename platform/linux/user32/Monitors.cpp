#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "kernel32/Errors.h"
#include "user32/Handles.h"

using namespace quillmark::layer;

namespace {

std::int64_t Overlap(LONG low1, LONG high1, LONG low2, LONG high2) {
  return std::int64_t{std::min(high1, high2)} - std::max(low1, low2);
}

// The monitor that shows most of the rectangle; if none shows any of it, the fallback's. An empty rectangle
// counts as the pixel at its top-left corner.
HMONITOR Select(RECT rect, DWORD fallback) {
  if (fallback > MONITOR_DEFAULTTONEAREST) return Fail(ERROR_INVALID_PARAMETER, nullptr);
  if (rect.left >= rect.right || rect.top >= rect.bottom) {
    rect.right = rect.left + 1;
    rect.bottom = rect.top + 1;
  }
  HMONITOR most = nullptr;
  HMONITOR nearest = nullptr;
  HMONITOR primary = nullptr;
  std::int64_t mostArea = 0;
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  for (const MonitorFacts& monitor : CurrentDesktop()->Monitors()) {
    const HMONITOR handle = ToMonitorHandle(monitor.id);
    const std::int64_t w = Overlap(rect.left, rect.right, monitor.rect.left, monitor.rect.right);
    const std::int64_t h = Overlap(rect.top, rect.bottom, monitor.rect.top, monitor.rect.bottom);
    if (w > 0 && h > 0 && w * h > mostArea) {
      mostArea = w * h;
      most = handle;
    }
    // A negative overlap is the gap between the two.
    const std::int64_t gapX = std::max<std::int64_t>(-w, 0);
    const std::int64_t gapY = std::max<std::int64_t>(-h, 0);
    if (gapX * gapX + gapY * gapY < least) {
      least = gapX * gapX + gapY * gapY;
      nearest = handle;
    }
    if (monitor.primary) primary = handle;
  }
  if (most != nullptr) return most;
  if (fallback == MONITOR_DEFAULTTONULL) return nullptr;
  return fallback == MONITOR_DEFAULTTOPRIMARY ? primary : nearest;
}

}  // namespace

BOOL WINAPI EnumDisplayMonitors(HDC dc, const RECT* clip, MONITORENUMPROC callback, LPARAM parameter) {
  if (dc != nullptr || clip != nullptr || callback == nullptr) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  for (MonitorFacts& monitor : CurrentDesktop()->Monitors()) {
    if (!callback(ToMonitorHandle(monitor.id), nullptr, &monitor.rect, parameter)) return FALSE;
  }
  return TRUE;
}

BOOL WINAPI GetMonitorInfoW(HMONITOR handle, MONITORINFO* info) {
  if (info == nullptr || (info->cbSize != sizeof(MONITORINFO) && info->cbSize != sizeof(MONITORINFOEXW))) {
    return Fail(ERROR_INVALID_PARAMETER, FALSE);
  }
  for (const MonitorFacts& monitor : CurrentDesktop()->Monitors()) {
    if (monitor.id != ToMonitorId(handle)) continue;
    info->rcMonitor = info->rcWork = monitor.rect;
    info->dwFlags = monitor.primary ? MONITORINFOF_PRIMARY : 0;
    if (info->cbSize == sizeof(MONITORINFOEXW)) {
      WCHAR* device = static_cast<MONITORINFOEXW*>(info)->szDevice;
      const std::size_t length = std::min<std::size_t>(monitor.deviceName.size(), CCHDEVICENAME - 1);
      std::fill(std::copy_n(monitor.deviceName.begin(), length, device), device + CCHDEVICENAME, L'\0');
    }
    return TRUE;
  }
  return Fail(ERROR_INVALID_MONITOR_HANDLE, FALSE);
}

HMONITOR WINAPI MonitorFromRect(const RECT* rect, DWORD fallback) {
  return rect != nullptr ? Select(*rect, fallback) : Fail(ERROR_INVALID_PARAMETER, nullptr);
}

HMONITOR WINAPI MonitorFromPoint(POINT point, DWORD fallback) {
  return Select({point.x, point.y, point.x + 1, point.y + 1}, fallback);
}

HMONITOR WINAPI MonitorFromWindow(HWND window, DWORD fallback) {
  if (const auto facts = CurrentDesktop()->Window(ToWindowId(window))) return Select(facts->outer, fallback);
  // Without a window, the platform returns the primary monitor unless the fallback is none.
  ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return fallback == MONITOR_DEFAULTTONULL ? nullptr : Select({0, 0, 0, 0}, MONITOR_DEFAULTTOPRIMARY);
}
