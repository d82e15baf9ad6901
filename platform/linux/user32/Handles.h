// How window and monitor handles hold their numbers: a desktop window its WindowId, one of the process's own
// message windows a number from 2^32 up, a monitor its MonitorId.
#pragma once

#include <windows.h>

#include <cstdint>

#include "desktop/Desktop.h"

namespace quillmark::layer {

inline constexpr std::uint64_t kFirstOwnWindow = std::uint64_t{1} << 32;

inline bool IsOwnWindow(HWND window) {
  return reinterpret_cast<std::uint64_t>(window) >= kFirstOwnWindow;
}

// 0, which is no window, for a handle that holds none of the desktop's numbers.
inline WindowId ToWindowId(HWND window) {
  return IsOwnWindow(window) ? 0 : static_cast<WindowId>(reinterpret_cast<std::uint64_t>(window));
}
inline HWND ToHandle(WindowId window) {
  return reinterpret_cast<HWND>(std::uintptr_t{window});
}

inline MonitorId ToMonitorId(HMONITOR monitor) {
  return reinterpret_cast<std::uint64_t>(monitor);
}
inline HMONITOR ToMonitorHandle(MonitorId monitor) {
  return reinterpret_cast<HMONITOR>(monitor);
}

// Whether the handle is a living message window of this process; `threadId` then is its thread's.
bool FindOwnWindow(HWND window, DWORD* threadId);

}  // namespace quillmark::layer
