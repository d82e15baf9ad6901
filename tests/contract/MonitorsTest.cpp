// The monitors of the desktop.
#include <gmock/gmock.h>
#include <windows.h>

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

class Monitors : public testing::Test {
 protected:
  TestDesktop desktop;
  std::vector<Monitor> monitors = AllMonitors();
};

TEST_F(Monitors, AreEnumeratedAndOneIsPrimaryAtTheOrigin) {
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

  MONITORINFO info{};
  info.cbSize = sizeof info;
  EXPECT_FALSE(::GetMonitorInfoW(nullptr, &info));
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_MONITOR_HANDLE);
  int calls = 0;
  const auto stop = [](HMONITOR, HDC, RECT*, LPARAM count) -> BOOL {
    ++*reinterpret_cast<int*>(count);
    return FALSE;
  };
  EXPECT_FALSE(::EnumDisplayMonitors(nullptr, nullptr, stop, reinterpret_cast<LPARAM>(&calls)));
  EXPECT_EQ(calls, 1) << "the callback ends the enumeration";
}

TEST_F(Monitors, AreFoundByPlaceOrFallback) {
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
      {"just outside", {-Far, 0, 0, 10}, false},
      {"empty, inside", {10, 10, 10, 10}, true},
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

}  // namespace
}  // namespace quillmark::test
