#include "capture/Dpi.h"

#include <shellscalingapi.h>

#include <atomic>

#include "platform/EntryPoint.h"

namespace quillmark {
namespace {

// A system library, taken as it is loaded already or loaded when first found, and kept.
class SystemLibrary {
 public:
  explicit SystemLibrary(LPCWSTR fileName) : name(fileName), handle(::GetModuleHandleW(fileName)) {}

  // Null as long as it cannot be loaded.
  HMODULE Get() {
    HMODULE module = handle.load();
    if (module == nullptr) {
      module = ::LoadLibraryW(name);
      if (module != nullptr) handle.store(module);
    }
    return module;
  }

 private:
  const LPCWSTR name;
  std::atomic<HMODULE> handle;
};

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

// The modules are asked for at each call until they are there, the entries once.
const DpiEntryPoints& EntryPoints() {
  static SystemLibrary user32(L"user32.dll");
  static SystemLibrary shcore(L"shcore.dll");
  const HMODULE user32Module = user32.Get();
  const HMODULE shcoreModule = shcore.Get();
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
