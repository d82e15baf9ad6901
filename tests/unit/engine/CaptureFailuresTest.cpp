// What a tick does when calls fail and memory runs out.
#include <memory>
#include <new>
#include <vector>

#include "CaptureTick.h"
#include "FailingResources.h"
#include "support/DebugOutputCapture.h"

namespace quillmark {
namespace {

using test::Call;
using test::RectAt;

constexpr std::int64_t afterEveryDelay = 1000;  // ms

class CaptureFailures : public CaptureTickTest {
 protected:
  using Contexts = std::vector<std::weak_ptr<DuplicationContext>>;

  static std::ptrdiff_t Gone(const Contexts& contexts) {
    return std::ranges::count_if(contexts, &Contexts::value_type::expired);
  }
};

TEST_F(CaptureFailures, FailingMonitorIsSkippedAndReportedOnceWhileTheOtherGoesOn) {
  const layer::MonitorId first = AddMonitor(0, 0, 300, 200);
  AddMonitor(300, 0, 300, 200);
  OpenWindow(RectAt(250, 10, 100, 100));
  AddSpec({0, 0, 100, 50});
  test::DebugOutputCapture output;
  EXPECT_EQ(UnitsIn(Tick()), 2u);
  for (int tick = 0; tick < 5; ++tick) {
    desktop->FailNth(Call::Duplicate, 1);
    engine.DropContext(test::HandleOf(first));
    EXPECT_EQ(UnitsIn(Tick(afterEveryDelay)), 1u) << tick;
  }
  desktop->Heal();
  EXPECT_EQ(UnitsIn(Tick(afterEveryDelay)), 2u);
  ASSERT_TRUE(output.WaitForLine("DuplicateOutput failed"));
  EXPECT_EQ(output.Count("DuplicateOutput failed"), 1u);

  desktop->FailNth(Call::OpenDevice, 1);
  engine.DropContext(test::HandleOf(first));
  Tick();
  EXPECT_TRUE(output.WaitForLine("D3D11CreateDevice failed")) << "another text is news";
}

// Memory that runs out anywhere in a tick ends the turn: the frame is given back, the engine goes on.
TEST_F(CaptureFailures, ExceptionAnywhereInATickGivesTheFrameBack) {
  const layer::MonitorId monitor = AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50}).intervalMs = 1;
  int failed = 0;
  for (int n = 1; failed == n - 1; ++n) {
    engine.DropContext(test::HandleOf(monitor));
    test::FailNthAllocation(n);
    try {
      probe.Tick(afterEveryDelay);
    } catch (const std::bad_alloc&) {  // outside of any monitor's turn
    }
    if (test::FailNthAllocation(0) == 0) ++failed;
    EXPECT_EQ(desktop->HeldFrames(), 0) << n;
  }
  EXPECT_GT(failed, 10);
  Specs().specs[0].intervalMs = 0;
  EXPECT_EQ(UnitsIn(Tick(afterEveryDelay)), 1u);
}

TEST_F(CaptureFailures, TurnThatRaisesBeforeItsJobIsQueuedBeginsNoInterval) {
  const layer::MonitorId monitor = AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  int failed = 0;
  for (int n = 1; failed == n - 1; ++n) {
    Specs().specs.clear();
    for (const wchar_t* name : {L"first", L"second"}) {
      AddSpec({0, 0, 50, 50}, {8, 8}, name + std::to_wstring(n)).intervalMs = 3'600'000;
    }
    desktop->Refresh(monitor);
    std::size_t units = 0;
    test::FailNthAllocation(n);
    try {
      units = UnitsIn(probe.Tick(afterEveryDelay));
    } catch (const std::bad_alloc&) {
    }
    if (test::FailNthAllocation(0) == 0) ++failed;
    EXPECT_GE(units + UnitsIn(Tick(afterEveryDelay)), 2u) << n;
  }
  EXPECT_GT(failed, 10);
}

TEST_F(CaptureFailures, FaultyContextIsReplacedAloneAfter200MsAndLoggedOnce) {
  const HMONITOR monitors[] = {test::HandleOf(AddMonitor(0, 0, 300, 200)),
                               test::HandleOf(AddMonitor(300, 0, 300, 200))};
  OpenWindow(RectAt(250, 10, 100, 100));
  AddSpec({0, 0, 100, 50});
  for (const auto& [call, text] :
       {std::pair{Call::Acquire, "access lost (0x887A0026)"}, {Call::Map, "capture failed (0x8007000E)"}}) {
    test::DebugOutputCapture output;
    EXPECT_EQ(UnitsIn(Tick()), 2u);
    const Contexts contexts{engine.GetContext(monitors[0]), engine.GetContext(monitors[1])};
    desktop->FailNth(call, 1);
    EXPECT_EQ(UnitsIn(Tick()), 1u);
    EXPECT_EQ(UnitsIn(Tick(199)), 2u) << "it was a passing fault, and the context is still there";
    EXPECT_EQ(Gone(contexts), 0);
    EXPECT_EQ(UnitsIn(Tick(1)), 2u);
    EXPECT_EQ(Gone(contexts), 1);
    Tick(1000);
    EXPECT_EQ(Gone(contexts), 1);
    EXPECT_TRUE(output.WaitForLine(text));
    EXPECT_EQ(output.Count("[Capture]"), 1u);
  }
}

TEST_F(CaptureFailures, ContextThatCannotBeMadeIsTriedLessOftenUntilTheDisplayChanges) {
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  desktop->FailAlways(Call::Duplicate);
  for (int tick = 0; tick < 250; ++tick) Tick();  // 5 s
  EXPECT_EQ(desktop->UsesOf(Call::Duplicate), 9);
  desktop->Heal();
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "not yet";
  probe.ChangeDisplay();
  EXPECT_EQ(UnitsIn(Tick()), 1u);
}

// Each change gives the monitor another handle, and none leaves the time for a rebind.
TEST_F(CaptureFailures, StormOfModeChangesLeavesNothingBehind) {
  layer::MonitorId monitor = AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  for (int change = 0; change < 300; ++change) {
    desktop->RemoveMonitor(monitor);
    monitor = AddMonitor(0, 0, 300 + change % 2, 200);
    EXPECT_EQ(UnitsIn(Tick()), 1u) << change;
    ASSERT_EQ(desktop->OpenDuplications(), 1) << change;
    ASSERT_EQ(probe.RememberedMonitors(), 1u) << change;
  }
}

// Every platform call on the road of a frame fails once at its n-th use: the tick survives it, nothing stays
// held, and the next ticks deliver again.
TEST_F(CaptureFailures, AnyCallMayFailOnceWithoutLastingHarm) {
  const layer::MonitorId monitor = AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  for (int call = 0; call < test::callCount; ++call) {
    for (int n = 1; n <= 3; ++n) {
      engine.DropContext(test::HandleOf(monitor));
      desktop->FailNth(static_cast<Call>(call), n);
      for (int tick = 0; tick < 3; ++tick) Tick();
      desktop->Heal();
      EXPECT_EQ(desktop->HeldFrames(), 0) << call << " use " << n;
      Tick();  // a frame that could not be released is given up with its context here
      engine.DropContext(test::HandleOf(monitor));
      EXPECT_EQ(UnitsIn(Tick()), 1u) << call << " use " << n;
    }
  }
}

}  // namespace
}  // namespace quillmark
