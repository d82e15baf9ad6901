#include "capture/TargetWindow.h"

#include <shellscalingapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cwctype>
#include <iterator>
#include <memory>
#include <string_view>

namespace quillmark {
namespace {

struct CloseProcess {
  void operator()(void* process) const { ::CloseHandle(process); }
};
using ProcessHandle = std::unique_ptr<void, CloseProcess>;

wchar_t Lower(wchar_t unit) {
  return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(unit)));
}

bool SameLetters(wchar_t a, wchar_t b) {
  return Lower(a) == Lower(b);
}

bool RunsImage(HWND window, const std::wstring& name) {
  DWORD processId = 0;
  ::GetWindowThreadProcessId(window, &processId);
  if (processId == 0) return false;
  const ProcessHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  if (!process) return false;
  wchar_t path[MAX_PATH];
  DWORD length = MAX_PATH;
  if (!::QueryFullProcessImageNameW(process.get(), 0, path, &length)) return false;
  const std::wstring_view file = ::PathFindFileNameW(path);
  return std::equal(file.begin(), file.end(), name.begin(), name.end(), SameLetters);
}

bool HasInTitle(HWND window, const std::wstring& part) {
  wchar_t title[512];
  const int length = ::GetWindowTextW(window, title, static_cast<int>(std::size(title)));
  if (length <= 0) return false;
  return std::search(title, title + length, part.begin(), part.end(), SameLetters) != title + length;
}

// In 32 bits, wrapping around: other programs choose these numbers.
std::int32_t AreaOf(const RECT& rect) {
  const auto height = static_cast<std::uint32_t>(rect.bottom) - static_cast<std::uint32_t>(rect.top);
  const auto width = static_cast<std::uint32_t>(rect.right) - static_cast<std::uint32_t>(rect.left);
  return static_cast<std::int32_t>(height * width);
}

void Consider(HWND window, TargetSearch& search) {
  if (!::IsWindow(window) || !::IsWindowVisible(window) || ::IsIconic(window)) return;
  if (::GetAncestor(window, GA_ROOT) != window) return;
  if (!(search.byImageName ? RunsImage(window, search.name) : HasInTitle(window, search.name))) return;
  RECT rect{};
  if (!::GetWindowRect(window, &rect)) return;
  if (search.found != nullptr && AreaOf(rect) <= AreaOf(search.foundRect)) return;
  search.found = window;
  search.foundRect = rect;
}

// The window's client area in desktop pixels; false when it cannot be measured or is empty.
bool MeasureClientArea(HWND window, Rect& area) {
  RECT client{};
  if (!::GetClientRect(window, &client)) return false;
  POINT topLeft{client.left, client.top};
  POINT bottomRight{client.right, client.bottom};
  if (!::ClientToScreen(window, &topLeft) || !::ClientToScreen(window, &bottomRight)) return false;
  if (topLeft.x >= bottomRight.x || topLeft.y >= bottomRight.y) return false;
  area = {topLeft.x, topLeft.y, bottomRight.x, bottomRight.y};
  return true;
}

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

TargetSearch::TargetSearch(const std::wstring& target)
    : name(target),
      byImageName(target.size() > 4 && (target.ends_with(L".exe") || target.ends_with(L".EXE"))) {}

void FindTargetWindow(TargetSearch& search) {
  const auto consider = [](HWND window, LPARAM parameter) -> BOOL {
    Consider(window, *reinterpret_cast<TargetSearch*>(parameter));
    return TRUE;
  };
  ::EnumWindows(consider, reinterpret_cast<LPARAM>(&search));
}

void UpdateTargetWindow(TemplateSpec& spec) {
  spec.targetValid = false;
  if (spec.target.empty()) return;
  if (spec.targetHwnd == nullptr || !::IsWindow(spec.targetHwnd)) {
    TargetSearch search(spec.target);
    FindTargetWindow(search);
    spec.targetHwnd = search.found;
  }
  if (spec.targetHwnd == nullptr || !::IsWindow(spec.targetHwnd) || ::IsIconic(spec.targetHwnd)) return;
  if (!MeasureClientArea(spec.targetHwnd, spec.targetRect)) return;
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
