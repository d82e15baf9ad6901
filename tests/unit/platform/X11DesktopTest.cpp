#include "desktop/X11Desktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <map>
#include <memory>
#include <thread>

#include "desktop/X11Monitors.h"
#include "support/Eventually.h"
#include "support/PrivateDisplay.h"
#include "support/XClient.h"

void PrintTo(const RECT& r, std::ostream* os) {
  *os << "(" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom << ")";
}
bool operator==(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

namespace quillmark::layer {
namespace {

using test::ChildProcess;
using test::Eventually;
using test::PrivateDisplay;
using test::XClient;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class X11DesktopTest : public ::testing::Test {
 protected:
  void Open() { desktop = std::make_unique<X11Desktop>(screen.Name()); }

  void OpenManaged() {
    screen.StartWindowManager();
    Open();
  }

  RECT ClientOnDesktop(WindowId window) {
    const auto size = desktop->ClientRect(window);
    const auto origin = desktop->ClientOrigin(window);
    if (!size || !origin) return {};
    return {origin->x, origin->y, origin->x + size->right, origin->y + size->bottom};
  }

  bool Lists(WindowId window) {
    const auto windows = desktop->TopLevelWindows();
    return std::find(windows.begin(), windows.end(), window) != windows.end();
  }

  WindowId ShowManaged(int x, int y, int width, int height, const char* title) {
    const WindowId window = client.Show(x, y, width, height, title);
    EXPECT_TRUE(Eventually([&] { return Lists(window) && desktop->Visible(window); }));
    return window;
  }

  PrivateDisplay screen{1280, 800};
  XClient client;
  std::unique_ptr<X11Desktop> desktop;
};

TEST_F(X11DesktopTest, WithoutAWindowManagerTheNextAnswerIsRightAfterEachChange) {
  Open();
  const WindowId low = client.Show(10, 20, 300, 200, "low");
  const WindowId high = client.Show(50, 60, 100, 80, "high");
  const WindowId popup = client.ShowPopup(0, 0, 20, 20);
  EXPECT_THAT(desktop->TopLevelWindows(), ElementsAre(high, low));
  EXPECT_FALSE(desktop->Exists(popup));
  EXPECT_EQ(ClientOnDesktop(low), (RECT{10, 20, 310, 220}));
  EXPECT_EQ(*desktop->OuterRect(low), (RECT{10, 20, 310, 220}));

  client.Raise(low);
  EXPECT_THAT(desktop->TopLevelWindows(), ElementsAre(low, high));
  client.Move(low, -30, 400);
  EXPECT_EQ(ClientOnDesktop(low), (RECT{-30, 400, 270, 600}));
  client.Resize(low, 640, 480);
  EXPECT_EQ(ClientOnDesktop(low), (RECT{-30, 400, 610, 880}));
  client.Unmap(low);
  EXPECT_TRUE(desktop->Iconic(low) && !desktop->Visible(low));
  client.Map(low);
  EXPECT_TRUE(!desktop->Iconic(low) && desktop->Visible(low));
  client.Destroy(low);
  EXPECT_FALSE(desktop->Exists(low));
  EXPECT_FALSE(desktop->OuterRect(low).has_value());
  EXPECT_THAT(desktop->TopLevelWindows(), ElementsAre(high));
}

TEST_F(X11DesktopTest, AnEnumerationSeesTheWindowsAsTheyWereForItsOwnThreadOnly) {
  Open();
  const WindowId window = client.Show(10, 20, 300, 200, "moving");
  const RECT before{10, 20, 310, 220}, after{40, 50, 340, 250};
  desktop->BeginEnumeration();
  client.Move(window, 40, 50);
  EXPECT_EQ(ClientOnDesktop(window), before);
  std::thread([&] { EXPECT_EQ(ClientOnDesktop(window), after); }).join();
  desktop->EndEnumeration();
  EXPECT_EQ(ClientOnDesktop(window), after);
}

TEST_F(X11DesktopTest, TitlesAreReadWhateverTheirEncoding) {
  Open();
  const WindowId window = client.Show(0, 0, 10, 10, "\xED\x99\x94\xEB\xA9\xB4 calc \xF0\x9F\x98\x80");
  EXPECT_EQ(desktop->Title(window), L"\xD654\xBA74 calc \xD83D\xDE00");
  client.SetTitle(window, "");
  EXPECT_EQ(desktop->Title(window), L"");
  client.SetLegacyTitle(window, "caf\xE9");
  EXPECT_EQ(desktop->Title(window), L"caf\x00E9");
}

TEST_F(X11DesktopTest, ProcessIsTheOneThatHoldsTheConnection) {
  Open();
  EXPECT_EQ(desktop->ProcessId(client.Show(0, 0, 10, 10, "own")), static_cast<std::uint32_t>(getpid()));
  const ChildProcess calculator({"xcalc"});
  EXPECT_TRUE(Eventually([&] { return desktop->TopLevelWindows().size() == 2; }));
  const WindowId foreign = desktop->TopLevelWindows().front();
  EXPECT_EQ(desktop->ProcessId(foreign), static_cast<std::uint32_t>(calculator.Pid()));
  EXPECT_TRUE(Eventually([&] { return desktop->Title(foreign) == L"Calculator"; }));
}

TEST_F(X11DesktopTest, AWindowWithTheNumberOfOneThatWasDestroyedIsANewOne) {
  Open();
  auto first = std::make_unique<XClient>();
  const WindowId old = first->Show(0, 0, 10, 10, "old");
  EXPECT_EQ(desktop->Title(old), L"old");
  first.reset();
  std::unique_ptr<XClient> second;
  WindowId reused = 0;
  // The server gives the numbers of a connection to the next one once it has closed the old one.
  ASSERT_TRUE(Eventually([&] {
    second = std::make_unique<XClient>();
    reused = second->Show(0, 0, 10, 10, "new");
    return reused == old;
  }));
  EXPECT_EQ(desktop->Title(reused), L"new");
  second->SetTitle(reused, "newer");
  EXPECT_EQ(desktop->Title(reused), L"newer");
}

TEST_F(X11DesktopTest, ManagedWindowsComeInStackingOrderWithTheirFrames) {
  OpenManaged();
  const WindowId low = ShowManaged(100, 150, 300, 200, "low");
  const WindowId high = ShowManaged(120, 170, 300, 200, "high");
  EXPECT_TRUE(Eventually([&] { return desktop->TopLevelWindows() == std::vector{high, low}; }));
  EXPECT_EQ(ClientOnDesktop(low), (RECT{100, 150, 400, 350}));

  // The window system's own account of the same window.
  int left = 0, right = 0, top = 0, bottom = 0, x = 0, y = 0;
  const std::string command =
      "xprop -id " + std::to_string(low) + " _NET_FRAME_EXTENTS; xwininfo -id " + std::to_string(low);
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
  char line[256];
  while (fgets(line, sizeof line, output.get()) != nullptr) {
    std::sscanf(line, "_NET_FRAME_EXTENTS(CARDINAL) = %d, %d, %d, %d", &left, &right, &top, &bottom);
    std::sscanf(line, " Absolute upper-left X: %d", &x);
    std::sscanf(line, " Absolute upper-left Y: %d", &y);
  }
  EXPECT_GT(top, 0);
  EXPECT_EQ(*desktop->OuterRect(low), (RECT{x - left, y - top, x + 300 + right, y + 200 + bottom}));

  client.Move(low, 500, 300);
  EXPECT_TRUE(Eventually([&] { return ClientOnDesktop(low).left >= 500; }));
  ASSERT_TRUE(PrivateDisplay::Run({"xdotool", "windowraise", std::to_string(low)}));
  EXPECT_TRUE(Eventually([&] { return desktop->TopLevelWindows() == std::vector{low, high}; }));
}

TEST_F(X11DesktopTest, AnIconifiedWindowStaysListedAndComesBack) {
  OpenManaged();
  const WindowId window = ShowManaged(100, 100, 300, 200, "window");
  client.Iconify(window);
  EXPECT_TRUE(Eventually([&] { return desktop->Iconic(window) && desktop->Visible(window); }));
  EXPECT_TRUE(Lists(window));
  client.Map(window);
  EXPECT_TRUE(Eventually([&] { return !desktop->Iconic(window) && desktop->Visible(window); }));
}

TEST_F(X11DesktopTest, TheWordOfAKilledWindowManagerIsNotBelieved) {
  OpenManaged();
  const WindowId hidden = ShowManaged(100, 100, 300, 200, "hidden");
  client.Iconify(hidden);
  ASSERT_TRUE(Eventually([&] { return desktop->Iconic(hidden); }));
  screen.EndWindowManager(SIGKILL);
  // It left the window marked as iconic and listed, while the server has put it back on the root window.
  EXPECT_TRUE(Eventually([&] { return desktop->Visible(hidden) && !desktop->Iconic(hidden); }));
  const WindowId fresh = client.Show(10, 10, 50, 50, "fresh");
  EXPECT_EQ(desktop->TopLevelWindows().front(), fresh);
}

TEST_F(X11DesktopTest, MonitorsCountFromThePrimaryOnesCorner) {
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "LEFT", "640/200x800/200+0+0", "screen"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "*RIGHT", "800/200x700/200+640+100", "none"}));
  ASSERT_TRUE(PrivateDisplay::Run({"sh", "-c", "echo 'Xft.dpi: 144' | xrdb -merge"}));
  Open();
  std::map<std::wstring, MonitorFacts> monitors;
  for (const auto& monitor : desktop->Monitors()) monitors[monitor.deviceName] = monitor;
  ASSERT_EQ(monitors.size(), 2u);
  EXPECT_EQ(monitors[L"LEFT"].rect, (RECT{-640, -100, 0, 700}));
  // Cut off where the root window ends.
  EXPECT_EQ(monitors[L"RIGHT"].rect, (RECT{0, 0, 640, 700}));
  EXPECT_TRUE(monitors[L"RIGHT"].primary && !monitors[L"LEFT"].primary);
  EXPECT_EQ(monitors[L"LEFT"].dpi, 144u);
  const WindowId window = client.Show(10, 20, 30, 40, "window");
  EXPECT_EQ(ClientOnDesktop(window), (RECT{-630, -80, -600, -40}));
  EXPECT_EQ(desktop->DpiOfWindow(window), 144u);
}

TEST_F(X11DesktopTest, ADisplayChangeIsToldOnceThereIsADifference) {
  Open();
  std::atomic<int> changes{0};
  desktop->OnDisplayChange([&] { ++changes; });
  const auto before = desktop->Monitors();
  ASSERT_EQ(before.size(), 1u);
  EXPECT_TRUE(before[0].primary);
  // Which says what is so already, and leaves every monitor its number.
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--output", "screen", "--primary"}));
  EXPECT_EQ(desktop->Monitors()[0].id, before[0].id);

  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "EXTRA", "100/20x100/20+900+0", "none"}));
  EXPECT_TRUE(Eventually([&] { return changes == 1; }));
  const auto during = desktop->Monitors();
  ASSERT_EQ(during.size(), 2u);
  EXPECT_TRUE(during[0].id == before[0].id || during[1].id == before[0].id);

  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--delmonitor", "EXTRA"}));
  EXPECT_TRUE(Eventually([&] { return changes == 2; }));
  desktop->OnDisplayChange(nullptr);
}

TEST_F(X11DesktopTest, AServerThatDiesAndComesBackIsFoundAgain) {
  Open();
  std::atomic<int> changes{0};
  desktop->OnDisplayChange([&] { ++changes; });
  const MonitorId oldMonitor = desktop->Monitors().at(0).id;
  const WindowId oldWindow = client.Show(0, 0, 10, 10, "old");
  EXPECT_TRUE(desktop->Exists(oldWindow));

  screen.EndServer(SIGKILL);
  EXPECT_TRUE(Eventually([&] { return changes == 1; }));
  EXPECT_THAT(desktop->Monitors(), IsEmpty());
  EXPECT_THAT(desktop->TopLevelWindows(), IsEmpty());
  EXPECT_FALSE(desktop->Exists(oldWindow));
  EXPECT_LT(desktop->OpenDevice(), 0);

  screen.RestartServer();
  EXPECT_TRUE(Eventually([&] { return changes == 2; }));
  ASSERT_EQ(desktop->Monitors().size(), 1u);
  EXPECT_NE(desktop->Monitors()[0].id, oldMonitor);
  XClient reborn;
  const WindowId window = reborn.Show(30, 40, 50, 60, "new");
  EXPECT_EQ(ClientOnDesktop(window), (RECT{30, 40, 80, 100}));
}

TEST(X11DesktopWithoutServerTest, HasNoMonitorsAndEndsAtOnce) {
  X11Desktop desktop("unix/nowhere:59999");
  EXPECT_THAT(desktop.Monitors(), IsEmpty());
  EXPECT_THAT(desktop.TopLevelWindows(), IsEmpty());
}

// As the thread of the display change sink does it, which nothing may end.
TEST(CurrentDesktopTest, WindowMadeWithoutDescriptorsIsToldOfChangesOnceThereAreSome) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer's own checks of memory need descriptors";
#endif
  const PrivateDisplay screen{800, 600};
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = &DefWindowProcW;
  windowClass.lpszClassName = L"CurrentDesktopTest";
  ASSERT_NE(RegisterClassW(&windowClass), 0);
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
  const rlimit none{0, usual.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  HWND window = nullptr;
  EXPECT_NO_THROW(window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, nullptr, nullptr,
                                           nullptr, nullptr));
  EXPECT_NO_THROW(EXPECT_THAT(CurrentDesktop()->Monitors(), IsEmpty()));
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);

  ASSERT_NE(window, nullptr);
  EXPECT_EQ(CurrentDesktop()->Monitors().size(), 1u);
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "EXTRA", "100/20x100/20+100+0", "none"}));
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, nullptr, 0, 0));
  EXPECT_EQ(message.message, UINT{WM_DISPLAYCHANGE});
  SetDesktop(nullptr);
}

TEST(DpiFromResourcesTest, ReadsTheOneLine) {
  EXPECT_EQ(DpiFromResources(""), 96u);
  EXPECT_EQ(DpiFromResources("Xft.antialias:\t1\nXft.dpi:\t143.6\nXft.rgba:\tnone\n"), 144u);
  EXPECT_EQ(DpiFromResources("Xft.dpi: 120"), 120u);
  EXPECT_EQ(DpiFromResources("MyXft.dpi: 120\n"), 96u);
  EXPECT_EQ(DpiFromResources("Xft.dpi: many\n"), 96u);
  EXPECT_EQ(DpiFromResources("Xft.dpi: -5\n"), 96u);
}

}  // namespace
}  // namespace quillmark::layer
