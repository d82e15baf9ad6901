#include "capture/TargetWindow.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "host/Text.h"
#include "kernel32/Modules.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {
namespace {

using test::Call;
using test::HandleOf;
using test::RectAt;
using test::ScriptedWindow;

class TargetWindowTest : public testing::Test {
 protected:
  TargetWindowTest() {
    desktop->AddMonitor({.rect = RectAt(0, 0, 1920, 1080)});
    desktop->AddMonitor({.rect = RectAt(-1280, -200, 1280, 1024), .dpi = 144});
    desktop->SetProcessImage(1, L"/usr/bin/notepad.exe");
    desktop->SetProcessImage(2, L"C:\\Games\\NOTEPAD.EXE");
    desktop->SetProcessImage(3, L"/opt/notepad.exe/other.exe");
  }

  layer::WindowId Open(std::wstring title, const RECT& client = RectAt(100, 100, 800, 600),
                       std::uint32_t processId = 9) {
    return desktop->OpenWindow({.title = std::move(title), .client = client, .processId = processId});
  }

  layer::WindowId OpenScaled(DPI_AWARENESS awareness, std::uint32_t dpi) {
    return desktop->OpenWindow(
        {.title = L"calc", .client = RectAt(-900, -150, 300, 200), .awareness = awareness, .dpi = dpi});
  }

  TemplateSpec Update(std::wstring target) {
    TemplateSpec updated;
    updated.target = std::move(target);
    UpdateTargetWindow(updated);
    return updated;
  }
  HWND Find(std::wstring target) { return Update(std::move(target)).targetHwnd; }

  const std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  TemplateSpec spec;
};

TEST_F(TargetWindowTest, MatchesProgramsByNameAndOthersByTitle) {
  const struct {
    const wchar_t* target;
    const wchar_t* title;
    std::uint32_t processId;
    bool matches;
  } cases[] = {
      {L"notepad.exe", L"x", 2, true},  // any letter case
      {L"NotePad.EXE", L"x", 1, true},
      {L"notepad.exe", L"x", 3, false},  // a folder's name
      {L"notepad.exe", L"notepad.exe", 9, false},
      {L"pad.exe", L"x", 1, false},  // the whole name only
      {L"NotePad", L"My nOTEPAD 2", 9, true},
      {L"Notepad", L"Note pad", 9, false},
      {L"\xC4nd", L"An \xC4ND", 9, true},  // A to Z only
      {L"\xC4nd", L"An \xE4nd", 9, false},
      {L"notepad.Exe", L"Notepad.exe - x", 9, true},  // a title
      {L"notepad.Exe", L"x", 1, false},
      {L".exe", L"setup.EXE", 9, true},  // too short for a name
      {L".exe", L"x", 1, false},
      {L"x", L"", 9, false},
  };
  for (const auto& c : cases) {
    const auto window = Open(c.title, RectAt(0, 0, 10, 10), c.processId);
    EXPECT_EQ(Find(c.target), c.matches ? HandleOf(window) : nullptr) << layer::ToUtf8(c.target);
    desktop->CloseWindow(window);
  }
}

TEST_F(TargetWindowTest, TakesTheLargestAndAmongEqualsTheTopmost) {
  Open(L"calc", RectAt(0, 0, 800, 600));
  Open(L"calc", RectAt(0, 0, 1024, 768));
  const auto upper = Open(L"calc", RectAt(500, 0, 1024, 768));
  Open(L"calc", RectAt(0, 0, 640, 480));
  EXPECT_EQ(Find(L"calc"), HandleOf(upper));
}

TEST_F(TargetWindowTest, SkipsWindowsThatAreNotShownOrHaveAnUnreadableImage) {
  desktop->OpenWindow({.title = L"calc", .visible = false});
  desktop->OpenWindow({.title = L"calc", .iconic = true});
  const auto other = Open(L"other");
  desktop->OpenWindow({.title = L"calc", .root = other});
  EXPECT_EQ(Find(L"calc"), nullptr);
  desktop->SetProcessImage(4, std::wstring(300, L'a') + L"/long.exe");
  Open(L"x", RectAt(0, 0, 10, 10), 4);
  EXPECT_EQ(Find(L"long.exe"), nullptr);
}

TEST_F(TargetWindowTest, IsInvalidWithoutATargetAClientAreaOrAMonitor) {
  Open(L"empty", RectAt(0, 0, 0, 200));
  EXPECT_FALSE(Update(L"empty").targetValid);
  EXPECT_FALSE(Update(L"").targetValid);
  EXPECT_FALSE(Update(L"missing").targetValid);
  Open(L"calc");
  spec.target = L"calc";
  spec.targetScaleX = spec.targetScaleY = 2.0;
  desktop->RemoveMonitor(1);
  desktop->RemoveMonitor(2);
  UpdateTargetWindow(spec);
  EXPECT_FALSE(spec.targetValid);
  EXPECT_EQ(spec.targetScaleX, 1.0);
  EXPECT_EQ(spec.targetScaleY, 1.0);
}

TEST_F(TargetWindowTest, KeepsItsWindowUntilItIsClosed) {
  const auto window = Open(L"calc", RectAt(0, 0, 300, 200));
  spec.target = L"calc";
  UpdateTargetWindow(spec);
  const int searches = desktop->UsesOf(Call::TopLevelWindows);
  const auto larger = Open(L"calc", RectAt(0, 0, 900, 700));
  for (const bool minimised : {true, false}) {
    minimised ? desktop->Minimize(window) : desktop->Restore(window);
    UpdateTargetWindow(spec);
    EXPECT_EQ(spec.targetValid, !minimised);
    EXPECT_EQ(spec.targetHwnd, HandleOf(window));
  }
  EXPECT_EQ(desktop->UsesOf(Call::TopLevelWindows), searches);

  desktop->CloseWindow(window);
  UpdateTargetWindow(spec);
  EXPECT_TRUE(spec.targetValid);
  EXPECT_EQ(spec.targetHwnd, HandleOf(larger));
  desktop->CloseWindow(larger);
  UpdateTargetWindow(spec);
  EXPECT_FALSE(spec.targetValid);
  EXPECT_EQ(spec.targetHwnd, nullptr);
}

TEST_F(TargetWindowTest, ScaleFollowsTheWindowsAwareness) {
  const struct {
    DPI_AWARENESS awareness;
    std::uint32_t dpi;
    double scale;
  } cases[] = {{DPI_AWARENESS_UNAWARE, 144, 1.5},
               {DPI_AWARENESS_SYSTEM_AWARE, 120, 1.25},
               {DPI_AWARENESS_UNAWARE, 0, 1.0},
               {DPI_AWARENESS_PER_MONITOR_AWARE, 144, 1.0}};
  for (const auto& [awareness, dpi, scale] : cases) {
    const auto window = OpenScaled(awareness, dpi);
    const TemplateSpec found = Update(L"calc");
    EXPECT_TRUE(found.targetValid);
    EXPECT_EQ(found.targetRect, (Rect{-900, -150, -600, 50}));
    EXPECT_EQ(found.targetMonitor, HandleOf(layer::MonitorId{2}));
    EXPECT_EQ(found.targetScaleX, scale);
    EXPECT_EQ(found.targetScaleY, scale);
    desktop->CloseWindow(window);
  }
}

// The entries are resolved once per process, so each case runs in a new one.
TEST_F(TargetWindowTest, ScaleOnOlderSystemsComesFromTheCallsTheyHave) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const struct {
    std::vector<std::string> missing;
    double scale;  // of an unaware window at 120 dpi on the 144 dpi monitor
  } cases[] = {{{"GetDpiForWindow"}, 1.5},
               {{"GetDpiForWindow", "GetDpiForMonitor"}, 1.0},
               {{"GetWindowDpiAwarenessContext"}, 1.0},
               {{"GetAwarenessFromDpiAwarenessContext"}, 1.0}};
  OpenScaled(DPI_AWARENESS_UNAWARE, 120);
  for (const auto& c : cases) {
    layer::HideEntries(c.missing);
    EXPECT_EXIT(std::exit(Update(L"calc").targetScaleX == c.scale ? 0 : 1), testing::ExitedWithCode(0), "")
        << c.missing.back();
  }
  layer::HideEntries({});
}

}  // namespace
}  // namespace quillmark
