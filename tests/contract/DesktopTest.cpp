// Windows of other programs, the monitors, and the notification when they change.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "app/frame/DisplayChangeSink.h"
#include "support/Eventually.h"
#include "support/TestDesktop.h"

namespace quillmark::test {
namespace {

using Edges = std::vector<LONG>;

Edges EdgesOf(const RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

std::wstring TitleOf(HWND window) {
  wchar_t text[512];
  return {text, static_cast<std::size_t>(::GetWindowTextW(window, text, 512))};
}

// On the desktop; empty if a call fails.
Edges ClientArea(HWND window) {
  RECT client{};
  if (!::GetClientRect(window, &client)) return {};
  POINT topLeft{client.left, client.top}, bottomRight{client.right, client.bottom};
  if (!::ClientToScreen(window, &topLeft) || !::ClientToScreen(window, &bottomRight)) return {};
  return {topLeft.x, topLeft.y, bottomRight.x, bottomRight.y};
}

// Topmost first.
std::vector<HWND> TopLevelWindows() {
  std::vector<HWND> windows;
  const auto note = [](HWND window, LPARAM list) -> BOOL {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
  };
  EXPECT_TRUE(::EnumWindows(note, reinterpret_cast<LPARAM>(&windows)));
  return windows;
}

class DesktopTest : public testing::Test {
 protected:
  std::unique_ptr<TestWindow> Open(const std::string& title, int x, int y, int width, int height) {
    auto window = std::make_unique<TestWindow>(title, x, y, width, height);
    EXPECT_TRUE(Eventually([&] {
      return std::ranges::count(TopLevelWindows(), window->Handle()) == 1 &&
             ::IsWindowVisible(window->Handle()) &&
             ClientArea(window->Handle()) == Edges{x, y, x + width, y + height};
    }));
    return window;
  }

  TestDesktop desktop;
};

TEST_F(DesktopTest, AWindowHasATitleAProcessAndRectanglesThatFollowIt) {
  // Characters of one byte, three and four.
  const auto window = Open("calc \xED\x99\x94\xEB\xA9\xB4 \xF0\x9F\x98\x80", 100, 120, 300, 200);
  const HWND handle = window->Handle();
  EXPECT_EQ(TitleOf(handle), L"calc \xD654\xBA74 \xD83D\xDE00");
  wchar_t cut[4] = L"xxx";
  EXPECT_EQ(::GetWindowTextW(handle, cut, 4), 3);
  EXPECT_STREQ(cut, L"cal");
  DWORD process = 0;
  EXPECT_NE(::GetWindowThreadProcessId(handle, &process), 0u);
  EXPECT_EQ(process, window->ProcessId());
  EXPECT_EQ(::GetAncestor(handle, GA_ROOT), handle);

  RECT outer{}, moved{};
  EXPECT_TRUE(::GetWindowRect(handle, &outer));
  EXPECT_LE(outer.left, 100);
  EXPECT_LT(outer.top, 120) << "a frame has a title bar";
  EXPECT_GE(outer.right, 400);
  EXPECT_GE(outer.bottom, 320);
  window->Move(500, 320);
  EXPECT_TRUE(Eventually([&] { return ClientArea(handle) == Edges{500, 320, 800, 520}; }));
  EXPECT_TRUE(::GetWindowRect(handle, &moved));
  EXPECT_EQ(EdgesOf(moved),
            (Edges{outer.left + 400, outer.top + 200, outer.right + 400, outer.bottom + 200}));
}

TEST_F(DesktopTest, WindowsAreEnumeratedFromTopToBottom) {
  const auto low = Open("low", 100, 120, 300, 200), high = Open("high", 150, 170, 300, 200);
  const auto above = [](const TestWindow& one, const TestWindow& other) {
    const auto windows = TopLevelWindows();
    return std::ranges::find(windows, one.Handle()) < std::ranges::find(windows, other.Handle());
  };
  EXPECT_TRUE(Eventually([&] { return above(*high, *low); }));
  low->Raise();
  EXPECT_TRUE(Eventually([&] { return above(*low, *high); }));
}

TEST_F(DesktopTest, AMinimisedWindowStaysListedAndVisible) {
  const auto window = Open("window", 100, 120, 300, 200);
  window->Minimise();
  EXPECT_TRUE(Eventually([&] { return ::IsIconic(window->Handle()); }));
  EXPECT_EQ(std::ranges::count(TopLevelWindows(), window->Handle()), 1);
  EXPECT_TRUE(::IsWindowVisible(window->Handle())) << "it is not hidden";
  EXPECT_EQ(TitleOf(window->Handle()), L"window");

  // Repeated, since a window manager that is still hiding the window ignores the request.
  EXPECT_TRUE(Eventually([&] {
    window->Restore();
    return !::IsIconic(window->Handle()) && ClientArea(window->Handle()) == Edges{100, 120, 400, 320};
  }));
}

TEST_F(DesktopTest, AClosedOrKilledWindowIsGone) {
  for (const auto end : {&TestWindow::Close, &TestWindow::Kill}) {
    const auto window = Open("window", 100, 120, 300, 200);
    const HWND gone = window->Handle();
    (window.get()->*end)();
    EXPECT_TRUE(Eventually([&] { return !::IsWindow(gone); }));
    EXPECT_EQ(std::ranges::count(TopLevelWindows(), gone), 0);
    EXPECT_FALSE(::IsWindowVisible(gone) || ::IsIconic(gone));
    EXPECT_EQ(TitleOf(gone), L"");
    EXPECT_EQ(ClientArea(gone), Edges{});
  }
}

TEST_F(DesktopTest, MonitorsAreEnumeratedAndOneIsPrimaryAtTheOrigin) {
  int primaries = 0;
  const auto check = [](HMONITOR monitor, HDC, RECT* rect, LPARAM count) -> BOOL {
    MONITORINFOEXW info{};
    info.cbSize = sizeof info;
    EXPECT_TRUE(::GetMonitorInfoW(monitor, &info));
    EXPECT_EQ(EdgesOf(info.rcMonitor), EdgesOf(*rect));
    EXPECT_NE(info.szDevice[0], L'\0');
    if ((info.dwFlags & MONITORINFOF_PRIMARY) == 0) return TRUE;
    ++*reinterpret_cast<int*>(count);
    EXPECT_TRUE(rect->left == 0 && rect->top == 0);
    return TRUE;
  };
  EXPECT_TRUE(::EnumDisplayMonitors(nullptr, nullptr, check, reinterpret_cast<LPARAM>(&primaries)));
  EXPECT_EQ(primaries, 1);
}

TEST_F(DesktopTest, MonitorsAreFoundByPlaceOrFallback) {
  const HMONITOR primary = ::MonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY);
  ASSERT_NE(primary, nullptr);
  constexpr LONG Far = 100'000;
  EXPECT_EQ(::MonitorFromPoint({-Far, 0}, MONITOR_DEFAULTTOPRIMARY), primary);
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
  for (const auto& c : cases) {
    EXPECT_EQ(::MonitorFromRect(&c.rect, MONITOR_DEFAULTTONULL), c.onAMonitor ? primary : nullptr) << c.what;
    EXPECT_NE(::MonitorFromRect(&c.rect, MONITOR_DEFAULTTONEAREST), nullptr) << c.what;
  }
}

TEST_F(DesktopTest, ADisplayChangeReachesTheSink) {
  std::atomic<int> changes{0};
  DisplayChangeSink sink;
  sink.Start([&] { ++changes; });
  // Repeated, since the sink's window may not exist yet.
  EXPECT_TRUE(Eventually([&] {
    desktop.ChangeDisplays();
    return changes > 0;
  }));
}

}  // namespace
}  // namespace quillmark::test
