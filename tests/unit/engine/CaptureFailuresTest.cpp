// What a tick does when calls fail and memory runs out.
#include <memory>

#include "EngineFixture.h"
#include "support/DebugOutputCapture.h"

namespace quillmark {
namespace {

using test::Call;
using test::RectAt;

constexpr std::int64_t afterEveryDelay = 1000;  // ms

class CaptureFailures : public EngineFixture {
 protected:
  // Two monitors, and a region on both.
  void ShowOneSpecOnTwoMonitors() {
    AddMonitor(0, 0);
    AddMonitor(300, 0);
    OpenWindow(RectAt(250, 10, 100, 100));
    AddSpec({0, 0, 100, 50});
  }
};

TEST_F(CaptureFailures, FailingMonitorIsSkippedAndReportedOnceWhileTheOtherGoesOn) {
  ShowOneSpecOnTwoMonitors();
  const HMONITOR first = test::HandleOf(desktop->Monitors()[0].id);
  test::DebugOutputCapture output;
  EXPECT_EQ(UnitsIn(Tick()), 2u);
  for (int tick = 0; tick < 5; ++tick) {
    desktop->FailNth(Call::Duplicate, 1);
    engine.DropContext(first);
    EXPECT_EQ(UnitsIn(Tick(afterEveryDelay)), 1u) << tick;
  }
  desktop->Heal();
  EXPECT_EQ(UnitsIn(Tick(afterEveryDelay)), 2u);
  ASSERT_TRUE(output.WaitForLine("DuplicateOutput failed"));
  EXPECT_EQ(output.Count("DuplicateOutput failed"), 1u);

  desktop->FailNth(Call::OpenDevice, 1);
  engine.DropContext(first);
  Tick();
  EXPECT_TRUE(output.WaitForLine("D3D11CreateDevice failed")) << "a different error is logged";
}

// Fails the first allocation of a tick, then the second, and so on until a tick needs fewer.
TEST_F(CaptureFailures, ExceptionAnywhereInATickReleasesTheFrameAndStartsNoInterval) {
  const HMONITOR monitor = ShowOneSpec();
  int failed = 0;
  for (int n = 1; failed == n - 1; ++n) {
    SCOPED_TRACE(n);
    engine.DropContext(monitor);
    Specs().specs.clear();
    for (const wchar_t* name : {L"first", L"second"}) {
      AddSpec({0, 0, 50, 50}, name + std::to_wstring(n)).intervalMs = 3'600'000;
    }
    RefreshAll();
    Jobs jobs;
    FailNthAllocation(n);
    try {
      jobs = probe.Tick(afterEveryDelay);
    } catch (const std::bad_alloc&) {  // outside of any monitor's turn
    }
    if (FailNthAllocation(0) == 0) ++failed;
    EXPECT_EQ(desktop->HeldFrames(), 0);
    EXPECT_GE(UnitsIn(jobs) + UnitsIn(Tick(afterEveryDelay)), 2u);
  }
  EXPECT_GT(failed, 10);
}

// The frame in which the region changes is lost at every point in turn; the next one names no change.
TEST_F(CaptureFailures, ChangeInAFrameThatBecameNoJobIsLookedAt) {
  ShowOneSpec();
  constexpr int ms = 1;  // a second on, all is compared anyway
  std::shared_ptr<RegionLook> look = Tick(ms).back()->units[0].look;
  bool failed = true;
  for (int n = 1; failed; ++n) {
    SCOPED_TRACE(n);
    desktop->Paint(cv::Mat(1, 1, CV_8UC3, cv::Scalar::all(n % 2 * 255)), {15, 15});
    FailNthAllocation(n);
    try {
      probe.Tick(ms);
    } catch (const std::bad_alloc&) {  // outside of any monitor's turn
    }
    failed = FailNthAllocation(0) == 0;
    Jobs jobs;
    for (int tick = 0; jobs.empty() && tick < 2000; ++tick) jobs = Tick(ms);  // a context may have to be made
    ASSERT_FALSE(jobs.empty());
    EXPECT_NE(jobs.back()->units[0].look, look);
    look = jobs.back()->units[0].look;
  }
}

TEST_F(CaptureFailures, FaultyContextIsReplacedAfter200MsAndLoggedOnce) {
  ShowOneSpecOnTwoMonitors();
  for (const auto& [call, text] :
       {std::pair{Call::Acquire, "access lost (0x887A0026)"}, {Call::Map, "capture failed (0x8007000E)"}}) {
    test::DebugOutputCapture output;
    EXPECT_EQ(UnitsIn(Tick()), 2u);
    std::vector<std::weak_ptr<DuplicationContext>> contexts;
    for (const auto& monitor : desktop->Monitors()) {
      contexts.push_back(engine.GetContext(test::HandleOf(monitor.id)));
    }
    const auto gone = [&] { return contexts[0].expired() + contexts[1].expired(); };
    desktop->FailNth(call, 1);
    EXPECT_EQ(UnitsIn(Tick()), 1u);
    EXPECT_EQ(UnitsIn(Tick(199)), 2u) << "a temporary fault: the context is still there";
    EXPECT_EQ(gone(), 0);
    EXPECT_EQ(UnitsIn(Tick(1)), 2u);
    EXPECT_EQ(gone(), 1);
    Tick(1000);
    EXPECT_EQ(gone(), 1);
    EXPECT_TRUE(output.WaitForLine(text));
    EXPECT_EQ(output.Count("[Capture]"), 1u);
  }
}

TEST_F(CaptureFailures, ContextThatCannotBeMadeIsRetriedLessOftenUntilADisplayChange) {
  ShowOneSpec();
  desktop->FailAlways(Call::Duplicate);
  for (int tick = 0; tick < 250; ++tick) Tick();  // 5 s
  EXPECT_EQ(desktop->UsesOf(Call::Duplicate), 9);
  desktop->Heal();
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "not yet";
  probe.ChangeDisplay();
  EXPECT_EQ(UnitsIn(Tick()), 1u);
}

// Each change gives the monitor another handle, and none leaves time for a rebind.
TEST_F(CaptureFailures, StormOfModeChangesLeavesNothingBehind) {
  ShowOneSpec();
  for (int change = 0; change < 300; ++change) {
    desktop->RemoveMonitor(desktop->Monitors()[0].id);
    AddMonitor(0, 0, 300 + change % 2);
    EXPECT_EQ(UnitsIn(Tick()), 1u) << change;
    ASSERT_EQ(desktop->OpenDuplications(), 1) << change;
    ASSERT_EQ(probe.RememberedMonitors(), 1u) << change;
  }
}

TEST_F(CaptureFailures, AnyCallMayFailOnceWithoutLastingHarm) {
  const HMONITOR monitor = ShowOneSpec();
  for (int call = 0; call < test::callCount; ++call) {
    for (int n = 1; n <= 3; ++n) {
      engine.DropContext(monitor);
      desktop->FailNth(static_cast<Call>(call), n);
      for (int tick = 0; tick < 3; ++tick) Tick();
      desktop->Heal();
      EXPECT_EQ(desktop->HeldFrames(), 0) << call << " use " << n;
      Tick();  // a frame that could not be released is dropped here with its context
      engine.DropContext(monitor);
      EXPECT_EQ(UnitsIn(Tick()), 1u) << call << " use " << n;
    }
  }
}

}  // namespace
}  // namespace quillmark
