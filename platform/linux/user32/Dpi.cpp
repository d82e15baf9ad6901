#include "user32/Dpi.h"

#include <dxgi1_2.h>

#include <array>
#include <atomic>

#include "kernel32/Modules.h"
#include "user32/Handles.h"

using quillmark::layer::CurrentDesktop;
using quillmark::layer::ToMonitorId;
using quillmark::layer::ToWindowId;

namespace {

// A context is a pseudo handle that counts down from -1; -4 and -5 are refinements of -3 and -1.
DPI_AWARENESS AwarenessOf(DPI_AWARENESS_CONTEXT context) {
  switch (reinterpret_cast<LONG_PTR>(context)) {
    case -1:
    case -5:
      return DPI_AWARENESS_UNAWARE;
    case -2:
      return DPI_AWARENESS_SYSTEM_AWARE;
    case -3:
    case -4:
      return DPI_AWARENESS_PER_MONITOR_AWARE;
    default:
      return DPI_AWARENESS_INVALID;
  }
}

// Succeeds for the first caller in the process.
bool SetAwarenessOnce() {
  static std::atomic<bool> set{false};
  return !set.exchange(true);
}

}  // namespace

BOOL WINAPI SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT context) {
  if (AwarenessOf(context) == DPI_AWARENESS_INVALID) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (!SetAwarenessOnce()) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  return TRUE;
}

HRESULT WINAPI SetProcessDpiAwareness(PROCESS_DPI_AWARENESS awareness) {
  if (awareness < PROCESS_DPI_UNAWARE || awareness > PROCESS_PER_MONITOR_DPI_AWARE) return E_INVALIDARG;
  return SetAwarenessOnce() ? S_OK : E_ACCESSDENIED;
}

BOOL WINAPI SetProcessDPIAware() {
  if (SetAwarenessOnce()) return TRUE;
  SetLastError(ERROR_ACCESS_DENIED);
  return FALSE;
}

DPI_AWARENESS_CONTEXT WINAPI GetWindowDpiAwarenessContext(HWND window) {
  const auto desktop = CurrentDesktop();
  if (!desktop->Exists(ToWindowId(window))) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return nullptr;
  }
  const DPI_AWARENESS awareness = desktop->Awareness(ToWindowId(window));
  if (awareness == DPI_AWARENESS_INVALID) return nullptr;
  return reinterpret_cast<DPI_AWARENESS_CONTEXT>(LONG_PTR{-1} - awareness);
}

DPI_AWARENESS WINAPI GetAwarenessFromDpiAwarenessContext(DPI_AWARENESS_CONTEXT context) {
  return AwarenessOf(context);
}

UINT WINAPI GetDpiForWindow(HWND window) {
  const auto desktop = CurrentDesktop();
  if (desktop->Exists(ToWindowId(window))) return desktop->DpiOfWindow(ToWindowId(window));
  SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return 0;
}

HRESULT WINAPI GetDpiForMonitor(HMONITOR monitor, MONITOR_DPI_TYPE type, UINT* dpiX, UINT* dpiY) {
  if (type != MDT_EFFECTIVE_DPI || dpiX == nullptr || dpiY == nullptr) return E_INVALIDARG;
  for (const auto& facts : CurrentDesktop()->Monitors()) {
    if (facts.id != ToMonitorId(monitor)) continue;
    *dpiX = *dpiY = facts.dpi;
    return S_OK;
  }
  return E_INVALIDARG;
}

namespace quillmark::layer {
namespace {

template <typename Function>
FARPROC AddressOf(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

const std::array user32Entries = {
    Entry{"SetProcessDpiAwarenessContext", AddressOf(&::SetProcessDpiAwarenessContext)},
    Entry{"SetProcessDPIAware", AddressOf(&::SetProcessDPIAware)},
    Entry{"GetWindowDpiAwarenessContext", AddressOf(&::GetWindowDpiAwarenessContext)},
    Entry{"GetAwarenessFromDpiAwarenessContext", AddressOf(&::GetAwarenessFromDpiAwarenessContext)},
    Entry{"GetDpiForWindow", AddressOf(&::GetDpiForWindow)},
};
const std::array shcoreEntries = {
    Entry{"SetProcessDpiAwareness", AddressOf(&::SetProcessDpiAwareness)},
    Entry{"GetDpiForMonitor", AddressOf(&::GetDpiForMonitor)},
};
const std::array libraries = {Library{"user32.dll", user32Entries}, Library{"shcore.dll", shcoreEntries}};

}  // namespace

std::span<const Library> Libraries() {
  return libraries;
}

}  // namespace quillmark::layer
