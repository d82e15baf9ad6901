// The DPI calls of user32 and shcore. No header declares them: the product finds them with GetProcAddress.
#include <shellscalingapi.h>
#include <windows.h>

#include <array>
#include <atomic>

#include "kernel32/Errors.h"
#include "kernel32/Modules.h"
#include "user32/Handles.h"

using namespace quillmark::layer;

namespace {

// A context is a pseudo handle that counts down from -1; -4 and -5 are refinements of -3 and -1.
DPI_AWARENESS WINAPI GetAwarenessFromDpiAwarenessContext(DPI_AWARENESS_CONTEXT context) {
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

// True for the first call in the process. Nothing else depends on the awareness: X11 stretches no window.
bool SetAwarenessOnce() {
  static std::atomic<bool> set{false};
  return !set.exchange(true);
}

BOOL WINAPI SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT context) {
  if (GetAwarenessFromDpiAwarenessContext(context) == DPI_AWARENESS_INVALID)
    return Fail(ERROR_INVALID_PARAMETER, FALSE);
  return SetAwarenessOnce() ? TRUE : Fail(ERROR_ACCESS_DENIED, FALSE);
}

HRESULT WINAPI SetProcessDpiAwareness(PROCESS_DPI_AWARENESS awareness) {
  if (awareness < PROCESS_DPI_UNAWARE || awareness > PROCESS_PER_MONITOR_DPI_AWARE) return E_INVALIDARG;
  return SetAwarenessOnce() ? S_OK : E_ACCESSDENIED;
}

BOOL WINAPI SetProcessDPIAware() {
  return SetAwarenessOnce() ? TRUE : Fail(ERROR_ACCESS_DENIED, FALSE);
}

DPI_AWARENESS_CONTEXT WINAPI GetWindowDpiAwarenessContext(HWND window) {
  const auto facts = CurrentDesktop()->Window(ToWindowId(window));
  if (!facts) return Fail(ERROR_INVALID_WINDOW_HANDLE, nullptr);
  return reinterpret_cast<DPI_AWARENESS_CONTEXT>(LONG_PTR{-1} - facts->awareness);
}

UINT WINAPI GetDpiForWindow(HWND window) {
  const auto facts = CurrentDesktop()->Window(ToWindowId(window));
  return facts ? facts->dpi : Fail(ERROR_INVALID_WINDOW_HANDLE, UINT{0});
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

template <typename Function>
FARPROC AddressOf(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

const std::array user32Entries = {
    Entry{"SetProcessDpiAwarenessContext", AddressOf(&SetProcessDpiAwarenessContext)},
    Entry{"SetProcessDPIAware", AddressOf(&SetProcessDPIAware)},
    Entry{"GetWindowDpiAwarenessContext", AddressOf(&GetWindowDpiAwarenessContext)},
    Entry{"GetAwarenessFromDpiAwarenessContext", AddressOf(&GetAwarenessFromDpiAwarenessContext)},
    Entry{"GetDpiForWindow", AddressOf(&GetDpiForWindow)},
};
const std::array shcoreEntries = {
    Entry{"SetProcessDpiAwareness", AddressOf(&SetProcessDpiAwareness)},
    Entry{"GetDpiForMonitor", AddressOf(&GetDpiForMonitor)},
};
const std::array libraries = {Library{"user32.dll", user32Entries}, Library{"shcore.dll", shcoreEntries}};

}  // namespace

std::span<const Library> quillmark::layer::Libraries() {
  return libraries;
}
