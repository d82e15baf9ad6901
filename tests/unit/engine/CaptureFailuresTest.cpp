// What a tick does when calls fail and memory runs out.
#include <new>

#include "CaptureTick.h"
#include "FailingResources.h"
#include "support/DebugOutputCapture.h"

namespace quillmark {
namespace {

using test::Call;
using test::RectAt;

using CaptureFailures = CaptureTickTest;

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
    EXPECT_EQ(UnitsIn(Tick()), 1u) << tick;
  }
  desktop->Heal();
  EXPECT_EQ(UnitsIn(Tick()), 2u);
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
      probe.Tick();
    } catch (const std::bad_alloc&) {  // outside of any monitor's turn
    }
    if (test::FailNthAllocation(0) == 0) ++failed;
    EXPECT_EQ(desktop->HeldFrames(), 0) << n;
  }
  EXPECT_GT(failed, 10);
  Specs().specs[0].intervalMs = 0;
  EXPECT_EQ(UnitsIn(Tick()), 1u);
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
