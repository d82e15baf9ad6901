#include "capture/TargetWindow.h"

#include <shellscalingapi.h>

#include <atomic>

#include "capture/SystemWindow.h"
#include "capture/TargetText.h"

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

template <typename Entry>
Entry EntryPoint(HMODULE module, LPCSTR name) {
  if (module == nullptr) return nullptr;
  // Through void*, as the entry's type is known only here.
  return reinterpret_cast<Entry>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

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

UINT DpiOf(HWND window, HMONITOR monitor, const DpiEntryPoints& entries) {
  constexpr UINT unscaled = 96;
  if (entries.getDpiForWindow != nullptr) return entries.getDpiForWindow(window);
  UINT dpiX = 0, dpiY = 0;
  if (entries.getDpiForMonitor == nullptr || monitor == nullptr ||
      FAILED(entries.getDpiForMonitor(monitor, MDT_EFFECTIVE_DPI, &dpiX, &dpiY))) {
    return unscaled;
  }
  return dpiX;
}

}  // namespace

HWND FindTargetWindow(const std::wstring& target) {
  struct Search {
    TargetChoice choice;
    HWND found = nullptr;
  } search{TargetChoice(target)};
  const auto consider = [](HWND handle, LPARAM parameter) -> BOOL {
    auto& [choice, found] = *reinterpret_cast<Search*>(parameter);
    SystemWindow window(handle);
    if (choice.Takes(window)) found = handle;
    return TRUE;
  };
  ::EnumWindows(consider, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

bool TargetMeans(const std::wstring& target, HWND window) {
  SystemWindow asked(window);
  return TargetText(target).Means(asked);
}

void UpdateTargetWindow(TemplateSpec& spec) {
  spec.targetValid = false;
  if (spec.target.empty()) return;
  if (spec.targetHwnd == nullptr || !::IsWindow(spec.targetHwnd)) {
    spec.targetHwnd = FindTargetWindow(spec.target);
  }
  if (spec.targetHwnd == nullptr || !::IsWindow(spec.targetHwnd) || ::IsIconic(spec.targetHwnd)) return;
  if (!SystemWindow(spec.targetHwnd).ClientArea(spec.targetRect)) return;
  spec.targetMonitor = ::MonitorFromWindow(spec.targetHwnd, MONITOR_DEFAULTTONEAREST);
  if (spec.targetMonitor == nullptr) {
    spec.targetScaleX = spec.targetScaleY = 1.0;
    return;
  }
  spec.targetScaleX = spec.targetScaleY = GetDpiScale(spec.targetHwnd, spec.targetMonitor);
  spec.targetValid = true;
}

BOOL CALLBACK CollectMonitors(HMONITOR monitor, HDC, RECT*, LPARAM list) {
  MONITORINFOEXW info{};
  info.cbSize = sizeof(info);
  if (::GetMonitorInfoW(monitor, &info)) {
    reinterpret_cast<std::vector<MonitorEntry>*>(list)->push_back({monitor, info.rcMonitor});
  }
  return TRUE;
}

double GetDpiScale(HWND window, HMONITOR monitor) {
  if (window == nullptr) return 1.0;
  static SystemLibrary user32(L"user32.dll");
  static SystemLibrary shcore(L"shcore.dll");
  const HMODULE user32Module = user32.Get();
  const HMODULE shcoreModule = shcore.Get();
  static const DpiEntryPoints entries(user32Module, shcoreModule);

  if (entries.getContext == nullptr || entries.getAwareness == nullptr) return 1.0;
  const DPI_AWARENESS_CONTEXT awareness = entries.getContext(window);
  if (awareness == nullptr || entries.getAwareness(awareness) >= DPI_AWARENESS_PER_MONITOR_AWARE) return 1.0;
  const double scale = DpiOf(window, monitor, entries) / 96.0;
  return scale > 0.0 ? scale : 1.0;
}

}  // namespace quillmark
