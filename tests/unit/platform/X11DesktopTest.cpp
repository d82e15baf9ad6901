#include "desktop/X11Desktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

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

using test::Eventually;
using test::PrivateDisplay;
using test::XClient;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class X11DesktopTest : public ::testing::Test {
 protected:
  void Open() { desktop = std::make_unique<X11Desktop>(screen.Name()); }

  WindowFacts Facts(WindowId window) {
    const auto facts = desktop->Window(window);
    EXPECT_TRUE(facts.has_value()) << window;
    return facts.value_or(WindowFacts{});
  }
  bool Exists(WindowId window) { return desktop->Window(window).has_value(); }
  bool Shows(WindowId window) {
    const auto facts = desktop->Window(window);
    return facts && facts->visible && !facts->iconic;
  }

  PrivateDisplay screen{1280, 800};
  XClient client;
  std::unique_ptr<X11Desktop> desktop;
};

TEST_F(X11DesktopTest, EachAnswerIsCurrentWithoutAWindowManager) {
  Open();
  const WindowId low = client.Show(10, 20, 300, 200, "\xED\x99\x94 low");
  const WindowId high = client.Show(50, 60, 100, 80, "high");
  const WindowId popup = client.ShowPopup(0, 0, 20, 20);
  EXPECT_THAT(desktop->TopLevelWindows(), ElementsAre(high, low));
  EXPECT_FALSE(Exists(popup));
  EXPECT_EQ(Facts(low).client, (RECT{10, 20, 310, 220}));
  EXPECT_EQ(Facts(low).outer, (RECT{10, 20, 310, 220}));
  EXPECT_EQ(Facts(low).title, L"\xD654 low");

  client.SetLegacyTitle(low, "caf\xE9");
  EXPECT_EQ(Facts(low).title, L"caf\x00E9");
  client.Raise(low);
  EXPECT_THAT(desktop->TopLevelWindows(), ElementsAre(low, high));
  client.Move(low, -30, 400);
  EXPECT_EQ(Facts(low).client, (RECT{-30, 400, 270, 600}));
  client.Unmap(low);
  EXPECT_TRUE(Facts(low).iconic && !Facts(low).visible);
  client.Map(low);
  EXPECT_TRUE(Shows(low));
  client.Destroy(low);
  EXPECT_FALSE(Exists(low));
  EXPECT_THAT(desktop->TopLevelWindows(), ElementsAre(high));
}

// Bytes that have arrived on this process's connections.
int UnreadBytes() {
  int unread = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    int bytes = 0;
    if (!std::filesystem::is_socket(entry.path())) continue;
    if (::ioctl(std::stoi(entry.path().filename()), FIONREAD, &bytes) == 0) unread += bytes;
  }
  return unread;
}

TEST_F(X11DesktopTest, ReadsItsEventsAlsoWhileItIsAskedNothing) {
  Open();
  const WindowId window = client.Show(0, 0, 100, 100, "window");
  EXPECT_TRUE(Shows(window));
  for (int round = 0; round < 2; ++round) {  // the first may end before the watcher has begun to wait
    for (int i = 1; i <= 100; ++i) client.Move(window, i, round);
    EXPECT_TRUE(Eventually([] { return UnreadBytes() == 0; }));
  }
}

TEST_F(X11DesktopTest, AReusedWindowIdIsANewWindow) {
  Open();
  auto first = std::make_unique<XClient>();
  const WindowId old = first->Show(0, 0, 10, 10, "old");
  EXPECT_EQ(Facts(old).title, L"old");
  first.reset();
  std::unique_ptr<XClient> second;
  WindowId reused = 0;
  // The server gives a connection's ids to the next one once it has closed the old one.
  ASSERT_TRUE(Eventually([&] {
    second = std::make_unique<XClient>();
    reused = second->Show(0, 0, 10, 10, "new");
    return reused == old;
  }));
  EXPECT_EQ(Facts(reused).title, L"new");
  second->SetTitle(reused, "newer");
  EXPECT_EQ(Facts(reused).title, L"newer");
}

TEST_F(X11DesktopTest, PropertiesOfAKilledWindowManagerAreIgnored) {
  screen.StartWindowManager();
  Open();
  const WindowId hidden = client.Show(100, 100, 300, 200, "hidden");
  ASSERT_TRUE(Eventually([&] { return Shows(hidden); }));
  client.Iconify(hidden);
  ASSERT_TRUE(Eventually([&] { return Facts(hidden).iconic; }));
  screen.KillWindowManager();
  // It left the window marked as iconic and listed, while the server has put it back on the root window.
  EXPECT_TRUE(Eventually([&] { return Shows(hidden); }));
  const WindowId fresh = client.Show(10, 10, 50, 50, "fresh");
  EXPECT_EQ(desktop->TopLevelWindows().front(), fresh);
}

TEST_F(X11DesktopTest, TheDesktopsOriginIsThePrimaryMonitorsCorner) {
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "LEFT", "640/200x800/200+0+0", "screen"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "*RIGHT", "800/200x700/200+640+100", "none"}));
  ASSERT_TRUE(PrivateDisplay::Run({"sh", "-c", "echo 'Xft.dpi: 144' | xrdb -merge"}));
  Open();
  std::map<std::wstring, MonitorFacts> monitors;
  for (const auto& monitor : desktop->Monitors()) monitors[monitor.deviceName] = monitor;
  ASSERT_EQ(monitors.size(), 2u);
  EXPECT_EQ(monitors[L"LEFT"].rect, (RECT{-640, -100, 0, 700}));
  EXPECT_EQ(monitors[L"RIGHT"].rect, (RECT{0, 0, 640, 700})) << "clipped to the root window";
  EXPECT_TRUE(monitors[L"RIGHT"].primary && !monitors[L"LEFT"].primary);
  EXPECT_EQ(monitors[L"LEFT"].dpi, 144u);
  const WindowFacts window = Facts(client.Show(10, 20, 30, 40, "window"));
  EXPECT_EQ(window.client, (RECT{-630, -80, -600, -40}));
  EXPECT_EQ(window.dpi, 144u);
}

TEST_F(X11DesktopTest, OnlyARealDisplayChangeIsReported) {
  Open();
  std::atomic<int> changes{0};
  desktop->OnDisplayChange([&] { ++changes; });
  const auto before = desktop->Monitors();
  ASSERT_EQ(before.size(), 1u);
  EXPECT_TRUE(before[0].primary);
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--output", "screen", "--primary"}));
  EXPECT_EQ(desktop->Monitors()[0].id, before[0].id) << "it was the primary monitor already";

  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "EXTRA", "100/20x100/20+900+0", "none"}));
  EXPECT_TRUE(Eventually([&] { return changes == 1; }));
  const auto during = desktop->Monitors();
  ASSERT_EQ(during.size(), 2u);
  EXPECT_TRUE(during[0].id == before[0].id || during[1].id == before[0].id);
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--delmonitor", "EXTRA"}));
  EXPECT_TRUE(Eventually([&] { return changes == 2; }));
  desktop->OnDisplayChange(nullptr);
}

TEST(X11DesktopWithoutServerTest, HasNoMonitorsAndEndsAtOnce) {
  X11Desktop desktop("unix/nowhere:59999");
  EXPECT_THAT(desktop.Monitors(), IsEmpty());
  EXPECT_THAT(desktop.TopLevelWindows(), IsEmpty());
}

TEST(DpiFromResourcesTest, TakesXftDpi) {
  const std::pair<const char*, std::uint32_t> cases[] = {
      {"", 96},
      {"Xft.antialias:\t1\nXft.dpi:\t143.6\nXft.rgba:\tnone\n", 144},
      {"Xft.dpi: 120", 120},
      {"Xft.dpi: many\n", 96},
      {"Xft.dpi: -5\n", 96}};
  for (const auto& [resources, dpi] : cases) EXPECT_EQ(DpiFromResources(resources), dpi) << resources;
}

}  // namespace
}  // namespace quillmark::layer
