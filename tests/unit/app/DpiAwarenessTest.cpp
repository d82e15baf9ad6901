// Which of the system's calls make the process aware of dpi, in their order. The calls are this program's
// own.
#include "app/DpiAwareness.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kernel32/Modules.h"
#include "user32/Dpi.h"

namespace {

std::string called;
bool knowsContextV2 = true;

}  // namespace

BOOL WINAPI SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT context) {
  called += " context" + std::to_string(reinterpret_cast<LONG_PTR>(context));
  return context != DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2 || knowsContextV2;
}
HRESULT WINAPI SetProcessDpiAwareness(PROCESS_DPI_AWARENESS awareness) {
  called += " value" + std::to_string(awareness);
  return S_OK;
}
BOOL WINAPI SetProcessDPIAware() {
  called += " system";
  return TRUE;
}
DPI_AWARENESS_CONTEXT WINAPI GetWindowDpiAwarenessContext(HWND) {
  return nullptr;
}
DPI_AWARENESS WINAPI GetAwarenessFromDpiAwarenessContext(DPI_AWARENESS_CONTEXT) {
  return DPI_AWARENESS_INVALID;
}
UINT WINAPI GetDpiForWindow(HWND) {
  return 0;
}
HRESULT WINAPI GetDpiForMonitor(HMONITOR, MONITOR_DPI_TYPE, UINT*, UINT*) {
  return E_INVALIDARG;
}

namespace quillmark {
namespace {

TEST(DpiAwareness, IsSetByTheBestCallThatTheSystemHas) {
  const struct {
    std::vector<const char*> missing;
    bool contextV2;
    const char* expected;
  } table[] = {
      {{}, true, " context-4"},
      {{}, false, " context-4 context-3"},
      {{"SetProcessDpiAwarenessContext"}, true, " value2"},
      {{"SetProcessDpiAwarenessContext", "SetProcessDpiAwareness"}, true, " system"},
      {{"SetProcessDpiAwarenessContext", "SetProcessDpiAwareness", "SetProcessDPIAware"}, true, ""},
  };
  for (const auto& c : table) {
    layer::ShowAllEntries();
    for (const char* const entry : c.missing) {
      layer::HideEntry("user32.dll", entry);
      layer::HideEntry("shcore.dll", entry);
    }
    called.clear();
    knowsContextV2 = c.contextV2;
    EnableDpiAwareness();
    EXPECT_EQ(called, c.expected) << c.missing.size() << " missing";
  }
}

}  // namespace
}  // namespace quillmark
