// Which DPI awareness calls are made, and in which order. The test replaces the calls.
#include "app/frame/DpiAwareness.h"

#include <gtest/gtest.h>
#include <shellscalingapi.h>

#include <array>
#include <span>
#include <string>
#include <vector>

#include "kernel32/Modules.h"

namespace quillmark {
namespace {

std::string called;
bool knowsContextV2 = true;

BOOL WINAPI SetContext(DPI_AWARENESS_CONTEXT context) {
  called += " context" + std::to_string(reinterpret_cast<LONG_PTR>(context));
  return context != DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2 || knowsContextV2;
}
HRESULT WINAPI SetAwareness(PROCESS_DPI_AWARENESS awareness) {
  called += " value" + std::to_string(awareness);
  return S_OK;
}
BOOL WINAPI SetAware() {
  called += " system";
  return TRUE;
}

template <typename Function>
FARPROC AddressOf(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

}  // namespace

// Replaces the layer's list.
std::span<const layer::Library> layer::Libraries() {
  static const std::array user32 = {Entry{"SetProcessDpiAwarenessContext", AddressOf(&SetContext)},
                                    Entry{"SetProcessDPIAware", AddressOf(&SetAware)}};
  static const std::array shcore = {Entry{"SetProcessDpiAwareness", AddressOf(&SetAwareness)}};
  static const std::array libraries = {Library{"user32.dll", user32}, Library{"shcore.dll", shcore}};
  return libraries;
}

namespace {

TEST(DpiAwareness, IsSetByTheNewestCallThatTheSystemHas) {
  const struct {
    std::vector<std::string> missing;
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
    layer::HideEntries(c.missing);
    called.clear();
    knowsContextV2 = c.contextV2;
    EnableDpiAwareness();
    EXPECT_EQ(called, c.expected) << c.missing.size() << " missing";
  }
}

}  // namespace
}  // namespace quillmark
