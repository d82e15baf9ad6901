// Which regions a tick cuts out of which monitor, tick by tick on the test's own thread.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <opencv2/imgproc.hpp>

#include "EngineProbe.h"
#include "FailingResources.h"
#include "app/OpenCvConfig.h"
#include "specs/SpecStore.h"
#include "support/DebugOutputCapture.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {
namespace {

using test::Call;
using test::RectAt;
using test::ScriptedDesktop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CaptureTickTest : public ::testing::Test {
 protected:
  using Jobs = std::deque<std::shared_ptr<FrameJob>>;

  CaptureTickTest() {
    ConfigureOpenCvOnce();
    Specs().specs.clear();
  }

  layer::MonitorId AddMonitor(LONG left, LONG top, LONG width, LONG height) {
    return desktop->AddMonitor({RectAt(left, top, width, height)});
  }
  layer::WindowId OpenWindow(const RECT& client, std::uint32_t dpi = 96) {
    test::ScriptedWindow window;
    window.title = L"target";
    window.client = client;
    if (dpi != 96) window.awareness = DPI_AWARENESS_UNAWARE;
    window.dpi = dpi;
    return desktop->OpenWindow(window);
  }
  // A spec in the store, with a grey template of a size but no content.
  TemplateSpec& AddSpec(const cv::Rect& roi, cv::Size templateSize = {8, 8},
                        const std::wstring& name = L"spec") {
    TemplateSpec spec;
    spec.name = name;
    spec.target = L"target";
    spec.roi = roi;
    spec.tmplGray = cv::Mat::zeros(templateSize, CV_8UC1);
    Specs().specs.push_back(spec);
    return Specs().specs.back();
  }
  // New frames everywhere, then one tick.
  Jobs Tick() {
    for (const layer::MonitorFacts& monitor : desktop->Monitors()) desktop->Refresh(monitor.id);
    return probe.Tick();
  }
  static Rect RegionOf(const ROIUnit& unit) { return {unit.x, unit.y, unit.right, unit.bottom}; }
  // The one unit of a tick that must have exactly one.
  ROIUnit OnlyUnit(const Jobs& jobs) {
    EXPECT_EQ(jobs.size(), 1u);
    if (jobs.size() != 1 || jobs[0]->units.size() != 1) {
      ADD_FAILURE() << "not exactly one unit";
      return {};
    }
    return jobs[0]->units[0];
  }
  static std::size_t UnitsIn(const Jobs& jobs) {
    std::size_t units = 0;
    for (const auto& job : jobs) units += job->units.size();
    return units;
  }

  std::shared_ptr<ScriptedDesktop> desktop = ScriptedDesktop::Install();
  AutoRebinder engine;
  EngineProbe probe{engine};
};

TEST_F(CaptureTickTest, CutsTheRegionOutOfTheFrame) {
  AddMonitor(0, 0, 320, 240);
  OpenWindow(RectAt(40, 30, 200, 100));
  AddSpec({10, 20, 50, 40});
  cv::Mat picture(240, 320, CV_8UC3);
  cv::randu(picture, 0, 256);
  desktop->Paint(picture);

  const ROIUnit unit = OnlyUnit(probe.Tick());

  EXPECT_EQ(RegionOf(unit), (Rect{50, 50, 100, 90}));
  EXPECT_FALSE(unit.clipped);
  cv::Mat gray;
  cv::cvtColor(picture, gray, cv::COLOR_BGR2GRAY);
  const cv::Rect crop(50, 50, 50, 40);
  EXPECT_EQ(cv::norm(unit.bgr, picture(crop), cv::NORM_INF), 0.0);
  EXPECT_EQ(cv::norm(unit.gray, gray(crop), cv::NORM_INF), 0.0);
  EXPECT_TRUE(unit.hsv.empty() && unit.sat.empty() && unit.hue.empty());
}

TEST_F(CaptureTickTest, ConvertsToHsvOnlyForSpecsThatNeedIt) {
  const struct {
    const char* what;
    void (*need)(TemplateSpec&);
    bool hsv;
  } table[] = {
      {"grey", [](TemplateSpec&) {}, false},
      {"bgr", [](TemplateSpec& s) { s.mode = MatchMode::Bgr; }, false},
      {"s", [](TemplateSpec& s) { s.mode = MatchMode::S; }, true},
      {"h", [](TemplateSpec& s) { s.mode = MatchMode::H; }, true},
      {"hs", [](TemplateSpec& s) { s.mode = MatchMode::HS; }, true},
      {"colour gate", [](TemplateSpec& s) { s.colorGate = true; }, true},
      {"red hint", [](TemplateSpec& s) { s.redHint = true; }, true},
      {"vivid and flat", [](TemplateSpec& s) { s.vividFlat = true; }, true},
      {"grey after those", [](TemplateSpec&) {}, false},
  };
  AddMonitor(0, 0, 320, 240);
  OpenWindow(RectAt(40, 30, 200, 100));
  for (const auto& c : table) {
    Specs().specs.clear();
    c.need(AddSpec({0, 0, 30, 20}));
    const ROIUnit unit = OnlyUnit(Tick());
    EXPECT_EQ(!unit.hsv.empty(), c.hsv) << c.what;
    EXPECT_EQ(unit.hue.size(), c.hsv ? cv::Size(30, 20) : cv::Size()) << c.what;
    EXPECT_EQ(unit.sat.size(), unit.hue.size()) << c.what;
  }
}

TEST_F(CaptureTickTest, MapsTheRegionAtTheTargetsScaleAndCutsItAtTemplateScale) {
  AddMonitor(0, 0, 1920, 1080);
  OpenWindow(RectAt(100, 200, 1000, 600), 144);
  AddSpec({10, 20, 100, 50}, {40, 20});

  const ROIUnit unit = OnlyUnit(Tick());

  EXPECT_EQ(RegionOf(unit), (Rect{115, 230, 265, 305}));
  EXPECT_FALSE(unit.clipped);
  EXPECT_EQ(unit.gray.size(), cv::Size(100, 50));
  EXPECT_EQ(unit.scaleX, 1.5);
}

TEST_F(CaptureTickTest, ScalesDownByAreaAndUpLinearly) {
  AddMonitor(0, 0, 600, 600);
  cv::Mat picture(600, 600, CV_8UC3);
  cv::randu(picture, 0, 256);
  for (const auto& [dpi, interpolation] : {std::pair{192u, cv::INTER_AREA}, {48u, cv::INTER_LINEAR}}) {
    Specs().specs.clear();
    const layer::WindowId window = OpenWindow(RectAt(0, 0, 600, 600), dpi);
    AddSpec({0, 0, 100, 80});
    desktop->Paint(picture);
    const ROIUnit unit = OnlyUnit(probe.Tick());
    cv::Mat expected;
    cv::resize(picture(cv::Rect(0, 0, unit.right, unit.bottom)), expected, {100, 80}, 0, 0, interpolation);
    ASSERT_EQ(unit.bgr.size(), expected.size()) << dpi;
    EXPECT_EQ(cv::norm(unit.bgr, expected, cv::NORM_INF), 0.0) << dpi;
    desktop->CloseWindow(window);
  }
}

TEST_F(CaptureTickTest, RegionsAreCutToTheClientArea) {
  const struct {
    cv::Rect roi;
    Rect region;  // empty when nothing is left to schedule
  } table[] = {
      {{0, 0, 200, 100}, {40, 30, 240, 130}},
      {{-10, -10, 50, 50}, {40, 30, 80, 70}},
      {{150, 60, 500, 500}, {190, 90, 240, 130}},
      {{200, 0, 50, 50}, {}},
      {{0, -60, 50, 50}, {}},
      {{0, 0, 7, 50}, {}},  // narrower than the template
      {{0, 0, 8, 8}, {40, 30, 48, 38}},
      {{0, 0, 0, 0}, {}},  // one pixel
      {{2147483647, 0, 2147483647, 50}, {}},
      {{-2147483647, 0, 2147483647, 50}, {}},
      {{-2147483647 - 1, 0, 2147483647, 2147483647}, {}},
      {{-100, 0, 2147483647, 2147483647}, {40, 30, 240, 130}},
  };
  AddMonitor(0, 0, 320, 240);
  OpenWindow(RectAt(40, 30, 200, 100));
  for (const auto& c : table) {
    Specs().specs.clear();
    AddSpec(c.roi);
    const Jobs jobs = Tick();
    if (c.region == Rect{}) {
      EXPECT_EQ(UnitsIn(jobs), 0u) << c.roi;
    } else {
      EXPECT_EQ(RegionOf(OnlyUnit(jobs)), c.region) << c.roi;
    }
  }
}

TEST_F(CaptureTickTest, StraddlingRegionIsCutFromBothMonitors) {
  AddMonitor(0, 0, 300, 200);
  AddMonitor(-300, -50, 300, 200);
  OpenWindow(RectAt(-60, 0, 120, 100));
  AddSpec({0, 0, 120, 100});

  const Jobs jobs = Tick();

  std::vector<Rect> regions;
  for (const auto& job : jobs) {
    for (const ROIUnit& unit : job->units) {
      EXPECT_TRUE(unit.clipped);
      EXPECT_EQ(unit.gray.size(), cv::Size(60, 100));
      regions.push_back(RegionOf(unit));
    }
  }
  EXPECT_THAT(regions, ::testing::UnorderedElementsAre(Rect{-60, 0, 0, 100}, Rect{0, 0, 60, 100}));
}

TEST_F(CaptureTickTest, PinChoosesTheMonitor) {
  // Monitors in enumeration order: primary at 0, left one at -300.
  const struct {
    std::int32_t pin;
    LONG windowLeft;
    std::vector<int> left;  // left edges of the regions cut
  } table[] = {
      {0, 20, {20}},     {0, -280, {-280}}, {-1, 20, {20}}, {-1, -280, {}},    {1, 20, {20}},
      {2, -280, {-280}}, {2, 20, {}},       {3, 20, {20}},  {3, -280, {-280}}, {-2, -280, {-280}},
  };
  AddMonitor(0, 0, 300, 200);
  AddMonitor(-300, 0, 300, 200);
  const layer::WindowId window = OpenWindow(RectAt(0, 0, 100, 100));
  for (const auto& c : table) {
    Specs().specs.clear();
    AddSpec({0, 0, 50, 50}).monitorPin = c.pin;
    desktop->MoveWindow(window, RectAt(c.windowLeft, 10, 100, 100));
    std::vector<int> left;
    for (const auto& job : Tick()) {
      for (const ROIUnit& unit : job->units) left.push_back(unit.x);
    }
    EXPECT_EQ(left, c.left) << "pin " << c.pin << " at " << c.windowLeft;
  }
}

TEST_F(CaptureTickTest, UnusableTargetsAreNotScheduled) {
  AddMonitor(0, 0, 300, 200);
  const layer::WindowId window = OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  EXPECT_EQ(UnitsIn(Tick()), 1u);
  desktop->Minimize(window);
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "minimised";
  desktop->Restore(window);
  EXPECT_EQ(UnitsIn(Tick()), 1u) << "restored";
  Specs().specs[0].target.clear();
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "without a target";
}

TEST_F(CaptureTickTest, DivisorTakesEveryNthFrame) {
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50}).frameDivisor = 3;
  std::vector<std::size_t> units;
  for (int tick = 0; tick < 7; ++tick) units.push_back(UnitsIn(Tick()));
  EXPECT_THAT(units, ElementsAre(1, 0, 0, 1, 0, 0, 1));
  EXPECT_EQ(probe.FramesCaptured(), 7u);
}

TEST_F(CaptureTickTest, DivisorCountsTheFramesOfAllMonitorsTogether) {
  AddMonitor(0, 0, 300, 200);
  AddMonitor(300, 0, 300, 200);
  OpenWindow(RectAt(250, 10, 100, 100));
  AddSpec({0, 0, 100, 50}).frameDivisor = 2;
  // Two frames a tick, one of them with an even number. A count for each monitor would give 2, 0, 2, 0.
  std::vector<std::size_t> units;
  for (int tick = 0; tick < 4; ++tick) units.push_back(UnitsIn(Tick()));
  EXPECT_THAT(units, ElementsAre(1, 1, 1, 1));
}

TEST_F(CaptureTickTest, TickSlowsDownAsJobsPileUp) {
  std::vector<std::int64_t> intervals;
  for (const std::size_t waiting : {0, 1, 2, 3, 4, 7, 8, 1000}) {
    intervals.push_back(EngineProbe::TickIntervalMs(waiting));
  }
  EXPECT_THAT(intervals, ElementsAre(20, 20, 33, 33, 50, 50, 80, 80));
}

TEST_F(CaptureTickTest, IntervalHoldsForEachMonitorOfItsOwn) {
  AddMonitor(0, 0, 300, 200);
  AddMonitor(-300, 0, 300, 200);
  const layer::WindowId window = OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50}).intervalMs = 3'600'000;
  EXPECT_EQ(UnitsIn(Tick()), 1u);
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "too soon on the same monitor";
  desktop->MoveWindow(window, RectAt(-200, 10, 100, 100));
  EXPECT_EQ(UnitsIn(Tick()), 1u) << "first time on the other monitor";
}

TEST_F(CaptureTickTest, AFrameWithoutDueSpecsStillMakesAJob) {
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 4, 4});
  const Jobs jobs = Tick();
  ASSERT_EQ(jobs.size(), 1u);
  EXPECT_THAT(jobs[0]->units, IsEmpty());
  EXPECT_EQ(jobs[0]->specs.size(), 1u);
}

TEST_F(CaptureTickTest, StillScreenGivesNoJob) {
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  EXPECT_EQ(probe.Tick().size(), 1u) << "the first frame";
  EXPECT_EQ(probe.Tick().size(), 0u);
  EXPECT_EQ(desktop->HeldFrames(), 0);
}

TEST_F(CaptureTickTest, FailingMonitorIsSkippedAndReportedOnceWhileTheOtherGoesOn) {
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

TEST_F(CaptureTickTest, ForcedT1HitsTheCentreOfItsRegionUnseen) {
  const test::PrivateSession session;
  test::RawController controller;
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({20, 10, 51, 30}, {8, 8}, L"T1").intervalMs = 3'600'000;
  ::setenv("QM_FORCE_T1_ALLOW", "1", 1);
  const Jobs jobs = Tick();
  ::unsetenv("QM_FORCE_T1_ALLOW");
  EXPECT_EQ(UnitsIn(jobs), 0u);
  probe.Sender().Start();
  const std::optional<test::RawHit> hit = controller.WaitForHit(L"T1");
  ASSERT_TRUE(hit);
  EXPECT_EQ(hit->cx, 45);
  EXPECT_EQ(hit->cy, 25);
  EXPECT_EQ(hit->w, 8);
  EXPECT_EQ(hit->sq, 0.99f);
  EXPECT_EQ(UnitsIn(Tick()), 1u) << "matched like any other without the permission, its interval untouched";
}

// The place is read at the beginning of the tick. On a still screen it is the move that brings the frame, so
// this one frame's regions lie at the old place; the next tick's lie at the new one.
TEST_F(CaptureTickTest, AWindowThatMovesDuringTheWaitIsCutAtItsOldPlaceOnce) {
  const layer::MonitorId monitor = AddMonitor(0, 0, 300, 200);
  const layer::WindowId window = OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  Tick();
  desktop->WhileNextWaiting([&] {
    desktop->MoveWindow(window, RectAt(30, 20, 100, 100));
    desktop->Refresh(monitor);
  });
  const Jobs jobs = probe.Tick();
  EXPECT_EQ(RegionOf(OnlyUnit(jobs)), (Rect{10, 10, 60, 60}));
  EXPECT_EQ(jobs.at(0)->specs.at(0).targetRect, (Rect{10, 10, 110, 110})) << "what the hit is relative to";
  EXPECT_EQ(RegionOf(OnlyUnit(Tick())), (Rect{30, 20, 80, 70}));
}

// Memory that runs out anywhere in a tick ends the turn: the frame is given back, the engine goes on.
TEST_F(CaptureTickTest, ExceptionAnywhereInATickGivesTheFrameBack) {
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
TEST_F(CaptureTickTest, AnyCallMayFailOnceWithoutLastingHarm) {
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
