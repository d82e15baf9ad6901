#include "app/frame/DpiAwareness.h"

#include <shellscalingapi.h>
#include <windows.h>

#include "platform/EntryPoint.h"

namespace quillmark {

namespace {

// Calls `use` with the library's entry; false if there is none.
template <typename Function, typename Use>
bool WithEntry(LPCWSTR library, LPCSTR name, Use use) {
  const HMODULE module = ::LoadLibraryW(library);
  const auto entry = EntryPoint<Function>(module, name);
  if (entry != nullptr) use(entry);
  if (module != nullptr) ::FreeLibrary(module);
  return entry != nullptr;
}

bool ByAwarenessContext() {
  using Function = BOOL(WINAPI*)(DPI_AWARENESS_CONTEXT);
  return WithEntry<Function>(L"user32.dll", "SetProcessDpiAwarenessContext", [](Function setContext) {
    if (!setContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2)) {
      setContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE);
    }
  });
}

bool ByAwarenessValue() {
  using Function = HRESULT(WINAPI*)(PROCESS_DPI_AWARENESS);
  return WithEntry<Function>(L"shcore.dll", "SetProcessDpiAwareness",
                             [](Function setAwareness) { setAwareness(PROCESS_PER_MONITOR_DPI_AWARE); });
}

void BySystemAwareness() {
  using Function = BOOL(WINAPI*)();
  WithEntry<Function>(L"user32.dll", "SetProcessDPIAware", [](Function setAware) { setAware(); });
}

}  // namespace

void EnableDpiAwareness() {
  if (ByAwarenessContext() || ByAwarenessValue()) return;
  BySystemAwareness();
}

}  // namespace quillmark
