#include "capture/Dpi.h"

#include <shellscalingapi.h>

#include <atomic>

#include "platform/EntryPoint.h"

namespace quillmark {
namespace {

// The DPI calls, none of which older systems have.
struct DpiEntryPoints {
  DPI_AWARENESS_CONTEXT(WINAPI* getContext)(HWND);
  DPI_AWARENESS(WINAPI* getAwareness)(DPI_AWARENESS_CONTEXT);
  UINT(WINAPI* getDpiForWindow)(HWND);
  HRESULT(WINAPI* getDpiForMonitor)(HMONITOR, MONITOR_DPI_TYPE, UINT*, UINT*);

  DpiEntryPoints(HMODULE user32, HMODULE shcore)
      : getContext(EntryPoint<decltype(getContext)>(user32, "GetWindowDpiAwarenessContext")),
        getAwareness(EntryPoint<decltype(getAwareness)>(user32, "GetAwarenessFromDpiAwarenessContext")),
        getDpiForWindow(EntryPoint<decltype(getDpiForWindow)>(user32, "GetDpiForWindow")),
        getDpiForMonitor(EntryPoint<decltype(getDpiForMonitor)>(shcore, "GetDpiForMonitor")) {}
};

// The library, kept once it has been found; null as long as it cannot be loaded.
HMODULE Kept(std::atomic<HMODULE>& library, LPCWSTR name) {
  if (library == nullptr) library = ::LoadLibraryW(name);
  return library;
}

// A missing library is looked for again on each call; the entries are resolved once.
const DpiEntryPoints& EntryPoints() {
  static std::atomic<HMODULE> user32 = ::GetModuleHandleW(L"user32.dll");
  static std::atomic<HMODULE> shcore = ::GetModuleHandleW(L"shcore.dll");
  const HMODULE user32Module = Kept(user32, L"user32.dll");
  const HMODULE shcoreModule = Kept(shcore, L"shcore.dll");
  static const DpiEntryPoints entries(user32Module, shcoreModule);
  return entries;
}

}  // namespace

UINT GetMonitorDpi(HMONITOR monitor) {
  constexpr UINT unscaled = 96;
  const DpiEntryPoints& entries = EntryPoints();
  UINT x = 0, y = 0;
  if (entries.getDpiForMonitor == nullptr || monitor == nullptr ||
      FAILED(entries.getDpiForMonitor(monitor, MDT_EFFECTIVE_DPI, &x, &y))) {
    return unscaled;
  }
  return x;
}

double GetDpiScale(HWND window, HMONITOR monitor) {
  if (window == nullptr) return 1.0;
  const DpiEntryPoints& entries = EntryPoints();
  if (entries.getContext == nullptr || entries.getAwareness == nullptr) return 1.0;
  const DPI_AWARENESS_CONTEXT awareness = entries.getContext(window);
  if (awareness == nullptr || entries.getAwareness(awareness) >= DPI_AWARENESS_PER_MONITOR_AWARE) return 1.0;
  const UINT dpi =
      entries.getDpiForWindow != nullptr ? entries.getDpiForWindow(window) : GetMonitorDpi(monitor);
  const double scale = dpi / 96.0;
  return scale > 0.0 ? scale : 1.0;
}

}  // namespace quillmark
