// Windows of other programs.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/Eventually.h"
#include "support/TestDesktop.h"

namespace quillmark::test {
namespace {

using testing::ElementsAre;

std::vector<LONG> Edges(const RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

std::wstring TitleOf(HWND window) {
  wchar_t text[512];
  return {text, static_cast<std::size_t>(::GetWindowTextW(window, text, 512))};
}

// The client area on the desktop; empty when a call fails.
std::vector<LONG> ClientArea(HWND window) {
  RECT client{};
  if (!::GetClientRect(window, &client)) return {};
  POINT topLeft{client.left, client.top}, bottomRight{client.right, client.bottom};
  if (!::ClientToScreen(window, &topLeft) || !::ClientToScreen(window, &bottomRight)) return {};
  return {topLeft.x, topLeft.y, bottomRight.x, bottomRight.y};
}

// Every top-level window, topmost first.
std::vector<HWND> TopLevelWindows() {
  std::vector<HWND> windows;
  const auto note = [](HWND window, LPARAM list) -> BOOL {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
  };
  EXPECT_TRUE(::EnumWindows(note, reinterpret_cast<LPARAM>(&windows)));
  return windows;
}

bool Lists(HWND window) {
  const auto windows = TopLevelWindows();
  return std::ranges::find(windows, window) != windows.end();
}

class DesktopWindows : public testing::Test {
 protected:
  std::unique_ptr<TestWindow> Open(const std::string& title, int x, int y, int width, int height) {
    auto window = std::make_unique<TestWindow>(title, x, y, width, height);
    EXPECT_TRUE(Eventually([&] {
      return Lists(window->Handle()) && ::IsWindowVisible(window->Handle()) &&
             ClientArea(window->Handle()) == std::vector<LONG>{x, y, x + width, y + height};
    }));
    return window;
  }

  TestDesktop desktop;
};

TEST_F(DesktopWindows, HaveATitleAProcessAndAState) {
  // Characters of one byte, three and four.
  const auto window = Open("calc \xED\x99\x94\xEB\xA9\xB4 \xF0\x9F\x98\x80", 100, 120, 300, 200);
  const std::wstring title = L"calc \xD654\xBA74 \xD83D\xDE00";
  std::vector<HWND> found = TopLevelWindows();
  std::erase_if(found, [&](HWND listed) { return TitleOf(listed) != title; });
  EXPECT_THAT(found, ElementsAre(window->Handle()));
  wchar_t cut[4] = L"xxx";
  EXPECT_EQ(::GetWindowTextW(window->Handle(), cut, 4), 3);
  EXPECT_STREQ(cut, L"cal");

  DWORD process = 0;
  EXPECT_NE(::GetWindowThreadProcessId(window->Handle(), &process), 0u);
  EXPECT_EQ(process, window->ProcessId());
  EXPECT_NE(::GetWindowThreadProcessId(window->Handle(), nullptr), 0u);
  EXPECT_TRUE(::IsWindow(window->Handle()));
  EXPECT_FALSE(::IsIconic(window->Handle()));
  EXPECT_EQ(::GetAncestor(window->Handle(), GA_ROOT), window->Handle());
}

TEST_F(DesktopWindows, AreEnumeratedFromTopToBottom) {
  const auto low = Open("low", 100, 120, 300, 200), high = Open("high", 150, 170, 300, 200);
  const auto above = [](HWND one, HWND other) {
    const auto windows = TopLevelWindows();
    return std::ranges::find(windows, one) < std::ranges::find(windows, other);
  };
  EXPECT_TRUE(Eventually([&] { return above(high->Handle(), low->Handle()); }));
  low->Raise();
  EXPECT_TRUE(Eventually([&] { return above(low->Handle(), high->Handle()); }));
}

TEST_F(DesktopWindows, HaveRectanglesThatFollowThem) {
  const auto window = Open("window", 100, 120, 300, 200);
  RECT client{}, outer{};
  EXPECT_TRUE(::GetClientRect(window->Handle(), &client));
  EXPECT_THAT(Edges(client), ElementsAre(0, 0, 300, 200));
  EXPECT_TRUE(::GetWindowRect(window->Handle(), &outer));
  EXPECT_LE(outer.left, 100);
  EXPECT_LT(outer.top, 120) << "a frame has a title bar";
  EXPECT_GE(outer.right, 400);
  EXPECT_GE(outer.bottom, 320);
  POINT inside{7, -3};
  EXPECT_TRUE(::ClientToScreen(window->Handle(), &inside));
  EXPECT_EQ(inside.x, 107);
  EXPECT_EQ(inside.y, 117);

  window->Move(500, 320);
  EXPECT_TRUE(Eventually([&] {
    return ClientArea(window->Handle()) == std::vector<LONG>{500, 320, 800, 520};
  }));
  RECT moved{};
  EXPECT_TRUE(::GetWindowRect(window->Handle(), &moved));
  EXPECT_THAT(Edges(moved),
              ElementsAre(outer.left + 400, outer.top + 200, outer.right + 400, outer.bottom + 200));
}

TEST_F(DesktopWindows, StayListedAndVisibleWhenMinimised) {
  const auto window = Open("window", 100, 120, 300, 200);
  window->Minimise();
  EXPECT_TRUE(Eventually([&] { return ::IsIconic(window->Handle()); }));
  EXPECT_TRUE(Lists(window->Handle()));
  EXPECT_TRUE(::IsWindowVisible(window->Handle())) << "it is not hidden";
  EXPECT_TRUE(::IsWindow(window->Handle()));
  EXPECT_EQ(TitleOf(window->Handle()), L"window");

  // Repeated, since a window manager that is still hiding the window ignores the request.
  EXPECT_TRUE(Eventually([&] {
    window->Restore();
    return !::IsIconic(window->Handle()) &&
           ClientArea(window->Handle()) == std::vector<LONG>{100, 120, 400, 320};
  }));
}

TEST_F(DesktopWindows, AnswerNothingOnceTheyAreGone) {
  const struct {
    const char* how;
    void (TestWindow::*end)();
  } cases[] = {{"closed", &TestWindow::Close}, {"killed", &TestWindow::Kill}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.how);
    const auto window = Open("window", 100, 120, 300, 200);
    const HWND gone = window->Handle();
    (window.get()->*c.end)();
    EXPECT_TRUE(Eventually([&] { return !::IsWindow(gone); }));
    EXPECT_FALSE(Lists(gone));
    EXPECT_FALSE(::IsWindowVisible(gone));
    EXPECT_FALSE(::IsIconic(gone));
    EXPECT_EQ(::GetAncestor(gone, GA_ROOT), nullptr);
    EXPECT_EQ(TitleOf(gone), L"");
    DWORD process = 0;
    EXPECT_EQ(::GetWindowThreadProcessId(gone, &process), 0u);

    RECT rect{};
    POINT point{};
    EXPECT_FALSE(::GetWindowRect(gone, &rect) || ::GetClientRect(gone, &rect) ||
                 ::ClientToScreen(gone, &point));
    EXPECT_EQ(::GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
  }
}

}  // namespace
}  // namespace quillmark::test
