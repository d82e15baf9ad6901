#include "app/DpiAwareness.h"

#include <shellscalingapi.h>
#include <windows.h>

#include "platform/EntryPoint.h"

namespace quillmark {

namespace {

// A library held for the time of its use.
class Library {
 public:
  explicit Library(const wchar_t* name) : module(::LoadLibraryW(name)) {}
  ~Library() {
    if (module != nullptr) ::FreeLibrary(module);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <typename Function>
  Function Entry(const char* name) const {
    return EntryPoint<Function>(module, name);
  }

 private:
  HMODULE module;
};

bool ByAwarenessContext() {
  const Library user32(L"user32.dll");
  const auto setContext = user32.Entry<BOOL(WINAPI*)(DPI_AWARENESS_CONTEXT)>("SetProcessDpiAwarenessContext");
  if (setContext == nullptr) return false;
  if (!setContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2)) {
    setContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE);
  }
  return true;
}

bool ByAwarenessValue() {
  const Library shcore(L"shcore.dll");
  const auto setAwareness = shcore.Entry<HRESULT(WINAPI*)(PROCESS_DPI_AWARENESS)>("SetProcessDpiAwareness");
  if (setAwareness == nullptr) return false;
  setAwareness(PROCESS_PER_MONITOR_DPI_AWARE);
  return true;
}

void BySystemAwareness() {
  const Library user32(L"user32.dll");
  const auto setAware = user32.Entry<BOOL(WINAPI*)()>("SetProcessDPIAware");
  if (setAware != nullptr) setAware();
}

}  // namespace

void EnableDpiAwareness() {
  if (ByAwarenessContext() || ByAwarenessValue()) return;
  BySystemAwareness();
}

}  // namespace quillmark
