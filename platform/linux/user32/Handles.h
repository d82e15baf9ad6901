// Window and monitor handles: a desktop window's holds its WindowId, a monitor's its MonitorId; those of the
// process's own message windows are numbers from 2^32 up.
#pragma once

#include <windows.h>

#include <cstdint>

#include "desktop/Desktop.h"

namespace quillmark::layer {

inline constexpr std::uint64_t kFirstOwnWindow = std::uint64_t{1} << 32;

inline bool IsOwnWindow(HWND window) {
  return reinterpret_cast<std::uint64_t>(window) >= kFirstOwnWindow;
}

// 0, which is no window, for a handle that holds no WindowId.
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

// Whether the handle is an existing message window of this process; sets `threadId` to its thread.
bool FindOwnWindow(HWND window, DWORD* threadId);

}  // namespace quillmark::layer
