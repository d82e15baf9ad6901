// What the product expects of the desktop's monitors.
#include <gmock/gmock.h>
#include <windows.h>

// After windows.h, which it builds on.
#include <shellscalingapi.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "support/Eventually.h"
#include "support/TestDesktop.h"

namespace quillmark::test {
namespace {

std::vector<LONG> Edges(const RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

struct Monitor {
  HMONITOR handle;
  RECT rect;
};

std::vector<Monitor> AllMonitors() {
  std::vector<Monitor> monitors;
  const auto note = [](HMONITOR monitor, HDC, RECT* rect, LPARAM list) -> BOOL {
    reinterpret_cast<std::vector<Monitor>*>(list)->push_back({monitor, *rect});
    return TRUE;
  };
  EXPECT_TRUE(::EnumDisplayMonitors(nullptr, nullptr, note, reinterpret_cast<LPARAM>(&monitors)));
  return monitors;
}

template <typename Function>
Function Entry(const wchar_t* library, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(::LoadLibraryW(library), name)));
}

class Monitors : public testing::Test {
 protected:
  TestDesktop desktop;
  std::vector<Monitor> monitors = AllMonitors();
};

TEST_F(Monitors, AreEnumeratedUntilItsCallbackSaysSoAndOneIsPrimaryAtTheOrigin) {
  std::vector<MONITORINFOEXW> primaries;
  for (const Monitor& monitor : monitors) {
    MONITORINFOEXW info{};
    info.cbSize = sizeof info;
    ASSERT_TRUE(::GetMonitorInfoW(monitor.handle, &info));
    EXPECT_EQ(Edges(info.rcMonitor), Edges(monitor.rect));
    EXPECT_NE(info.szDevice[0], L'\0');
    EXPECT_TRUE(std::ranges::find(info.szDevice, L'\0') != std::end(info.szDevice));
    if (info.dwFlags & MONITORINFOF_PRIMARY) primaries.push_back(info);
  }
  ASSERT_EQ(primaries.size(), 1u);
  const MONITORINFOEXW& primary = primaries.front();
  EXPECT_EQ(primary.rcMonitor.left, 0);
  EXPECT_EQ(primary.rcMonitor.top, 0);
  EXPECT_GE(primary.rcMonitor.right, 640);
  EXPECT_GE(primary.rcWork.left, primary.rcMonitor.left);
  EXPECT_LE(primary.rcWork.bottom, primary.rcMonitor.bottom);

  // Information comes in two sizes.
  MONITORINFO info{};
  info.cbSize = sizeof info;
  EXPECT_TRUE(::GetMonitorInfoW(monitors.front().handle, &info));
  EXPECT_EQ(Edges(info.rcMonitor), Edges(monitors.front().rect));
  EXPECT_FALSE(::GetMonitorInfoW(nullptr, &info));
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_MONITOR_HANDLE);
  info.cbSize = sizeof info - 1;
  EXPECT_FALSE(::GetMonitorInfoW(monitors.front().handle, &info));

  int calls = 0;
  const auto stop = [](HMONITOR, HDC, RECT*, LPARAM count) -> BOOL {
    ++*reinterpret_cast<int*>(count);
    return FALSE;
  };
  EXPECT_FALSE(::EnumDisplayMonitors(nullptr, nullptr, stop, reinterpret_cast<LPARAM>(&calls)));
  EXPECT_EQ(calls, 1);
}

TEST_F(Monitors, APlaceLeadsToTheMonitorThatShowsItOrToTheFallback) {
  const HMONITOR primary = ::MonitorFromPoint({0, 0}, MONITOR_DEFAULTTONULL);
  ASSERT_NE(primary, nullptr);
  constexpr LONG Far = 100'000;
  const struct {
    const char* what;
    RECT rect;
    bool onAMonitor;
  } cases[] = {
      {"inside", {10, 10, 20, 20}, true},
      {"partly", {-Far, -Far, 5, 5}, true},
      {"outside", {-Far, -Far, 10 - Far, 10 - Far}, false},
      {"just outside", {-Far, 0, 0, 10}, false},
      {"empty, inside", {10, 10, 10, 10}, true},
      {"empty, outside", {-Far, 0, -Far, 0}, false},
  };
  const bool alone = monitors.size() == 1;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(::MonitorFromRect(&c.rect, MONITOR_DEFAULTTONULL), c.onAMonitor ? primary : nullptr);
    EXPECT_EQ(::MonitorFromRect(&c.rect, MONITOR_DEFAULTTOPRIMARY), primary);
    const HMONITOR nearest = ::MonitorFromRect(&c.rect, MONITOR_DEFAULTTONEAREST);
    EXPECT_TRUE(alone ? nearest == primary : nearest != nullptr);
  }
  EXPECT_EQ(::MonitorFromPoint({-Far, 0}, MONITOR_DEFAULTTONULL), nullptr);
  EXPECT_EQ(::MonitorFromPoint({-Far, 0}, MONITOR_DEFAULTTOPRIMARY), primary);
  EXPECT_NE(::MonitorFromPoint({-Far, 0}, MONITOR_DEFAULTTONEAREST), nullptr);
}

TEST_F(Monitors, OfAWindowIsTheOneThatShowsItWithItsDpi) {
  const auto ofMonitor =
      Entry<HRESULT(WINAPI*)(HMONITOR, MONITOR_DPI_TYPE, UINT*, UINT*)>(L"shcore.dll", "GetDpiForMonitor");
  const auto ofWindow = Entry<UINT(WINAPI*)(HWND)>(L"user32.dll", "GetDpiForWindow");
  const auto contextOf =
      Entry<DPI_AWARENESS_CONTEXT(WINAPI*)(HWND)>(L"user32.dll", "GetWindowDpiAwarenessContext");
  const auto awarenessOf = Entry<DPI_AWARENESS(WINAPI*)(DPI_AWARENESS_CONTEXT)>(
      L"user32.dll", "GetAwarenessFromDpiAwarenessContext");
  ASSERT_TRUE(ofMonitor && ofWindow && contextOf && awarenessOf);
  UINT x = 0, y = 0;
  EXPECT_EQ(ofMonitor(monitors.front().handle, MDT_EFFECTIVE_DPI, &x, &y), S_OK);
  EXPECT_GE(x, 96u);
  EXPECT_EQ(x, y);

  TestWindow window("window", 100, 120, 300, 200);
  EXPECT_TRUE(Eventually([&] { return ::IsWindowVisible(window.Handle()); }));
  EXPECT_GE(ofWindow(window.Handle()), 96u);
  EXPECT_GE(awarenessOf(contextOf(window.Handle())), DPI_AWARENESS_UNAWARE);
  EXPECT_LE(awarenessOf(contextOf(window.Handle())), DPI_AWARENESS_PER_MONITOR_AWARE);
  const HMONITOR primary = ::MonitorFromPoint({100, 120}, MONITOR_DEFAULTTONULL);
  EXPECT_EQ(::MonitorFromWindow(window.Handle(), MONITOR_DEFAULTTONULL), primary);
  window.Close();
  EXPECT_TRUE(Eventually([&] { return !::IsWindow(window.Handle()); }));
  EXPECT_EQ(::MonitorFromWindow(window.Handle(), MONITOR_DEFAULTTONULL), nullptr);
  EXPECT_EQ(::MonitorFromWindow(window.Handle(), MONITOR_DEFAULTTOPRIMARY), primary);
  EXPECT_EQ(ofWindow(nullptr), 0u);
  EXPECT_EQ(contextOf(nullptr), nullptr);
  EXPECT_EQ(awarenessOf(nullptr), DPI_AWARENESS_INVALID);
}

}  // namespace
}  // namespace quillmark::test
