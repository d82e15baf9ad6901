// Which regions a tick cuts out of which monitor, tick by tick on the test's own thread.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "CaptureTick.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark {
namespace {

using test::RectAt;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(CaptureTickTest, CutsTheRegionOutOfTheFrame) {
  AddMonitor(0, 0, 320, 240);
  OpenWindow(RectAt(40, 30, 200, 100));
  AddSpec({10, 20, 50, 40});
  cv::Mat picture(240, 320, CV_8UC3);
  cv::randu(picture, 0, 256);
  desktop->Paint(picture);

  const ROIUnit unit = OnlyUnit(probe.Tick());
  desktop->Paint(cv::Mat::zeros(240, 320, CV_8UC3));
  EXPECT_EQ(UnitsIn(probe.Tick()), 1u) << "of a frame that must not show in the first one's unit";

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
      {0, 20, {20}},  {1, -280, {}},     {0, -280, {-280}},  {-1, 20, {20}},
      {-1, -280, {}}, {1, 20, {20}},     {2, -280, {-280}},  {2, 20, {}},
      {3, 20, {20}},  {3, -280, {-280}}, {-2, -280, {-280}},
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
    intervals.push_back(Tick::IntervalMs(waiting));
  }
  EXPECT_THAT(intervals, ElementsAre(20, 20, 33, 33, 50, 50, 80, 80));
}

// A tick without the engine, one spec and frame at a time.
class TickTest : public ::testing::Test {
 protected:
  static TargetBinding Bound(TemplateSpec& spec) {
    spec.targetValid = true;
    TargetBinding binding;
    binding.outcome = BindingOutcome::Bound;
    return binding;
  }
  // The frame shows less than the monitor is said to.
  SpecOutcome Turn(const TemplateSpec& spec, std::int64_t tMs = 0, layer::MonitorId monitor = 1) {
    SpecOutcome outcome{};
    const SpecListener listener = [&](const SpecTurn& turn) { outcome = turn.outcome; };
    const HMONITOR handle = test::HandleOf(monitor);
    tick.Bind({spec}, Bound, listener);
    tick.Group({{handle, RectAt(0, 0, 200, 200)}}, SystemMonitors(), listener);
    if (!tick.Groups().empty()) tick.Commit(handle, *tick.Cut({handle, {}, 0, picture}, tMs, listener));
    return outcome;
  }
  static TemplateSpec SpecAt(const cv::Rect& roi, const std::wstring& name = L"spec") {
    TemplateSpec spec;
    spec.name = name;
    spec.roi = roi;
    spec.targetRect = {0, 0, 500, 500};
    spec.tmplGray = cv::Mat::zeros(8, 8, CV_8UC1);
    return spec;
  }

  const cv::Mat picture = cv::Mat::zeros(100, 100, CV_8UC4);
  Tick tick;
};

TEST_F(TickTest, IntervalHoldsForEachSpecOnEachMonitor) {
  const struct {
    const wchar_t* name;
    layer::MonitorId monitor;
    std::int64_t tMs;
    SpecOutcome expected;
  } table[] = {
      {L"a", 1, 1000, SpecOutcome::Cut}, {L"a", 1, 1099, SpecOutcome::Throttled},
      {L"a", 2, 1099, SpecOutcome::Cut}, {L"b", 1, 1099, SpecOutcome::Cut},
      {L"a", 1, 1100, SpecOutcome::Cut}, {L"a", 1, 1199, SpecOutcome::Throttled},
      {L"a", 1, 1200, SpecOutcome::Cut},
  };
  for (const auto& c : table) {
    TemplateSpec spec = SpecAt({0, 0, 50, 50}, c.name);
    spec.intervalMs = 100;
    EXPECT_EQ(Turn(spec, c.tMs, c.monitor), c.expected) << c.name << " on " << c.monitor << " at " << c.tMs;
  }
}

TEST_F(TickTest, T1IsForcedWhereThePermissionBeginsWithAOne) {
  const struct {
    const wchar_t* name;
    const char* permission;
    bool forced;
  } table[] = {{L"T1", "1", true}, {L"T1", "10", true},     {L"T1", "0", false},  {L"T1", "yes", false},
               {L"T1", "", false}, {L"T1", nullptr, false}, {L"T10", "1", false}, {L"t1", "1", false}};
  for (const auto& c : table) {
    if (c.permission != nullptr) ::setenv("QM_FORCE_T1_ALLOW", c.permission, 1);
    const SpecOutcome turn = Turn(SpecAt({0, 0, 50, 50}, c.name));
    ::unsetenv("QM_FORCE_T1_ALLOW");
    EXPECT_EQ(turn, c.forced ? SpecOutcome::Forced : SpecOutcome::Cut)
        << c.name << " " << (c.permission != nullptr ? c.permission : "unset");
  }
}

TEST_F(TickTest, SpecsOfValidTargetsAreGroupedByMonitor) {
  const MonitorEntry here{test::HandleOf(layer::MonitorId{1}), RectAt(0, 0, 100, 100)};
  const MonitorEntry there{test::HandleOf(layer::MonitorId{2}), RectAt(100, 0, 100, 100)};
  tick.Bind({SpecAt({0, 0, 50, 50}), SpecAt({0, 0, 50, 50}, L"unbound"), SpecAt({50, 0, 100, 50})},
            [](TemplateSpec& spec) { return spec.name == L"unbound" ? TargetBinding{} : Bound(spec); });
  tick.Group({here, there});
  EXPECT_EQ(tick.Groups(), (MonitorGroups{{here.monitor, {0, 2}}, {there.monitor, {2}}}));
}

TEST_F(TickTest, RegionBesideTheTargetMonitorOrFrameIsNotCut) {
  const struct {
    cv::Rect roi;
    SpecOutcome expected;
  } table[] = {
      {{92, 0, 50, 50}, SpecOutcome::Cut},
      {{93, 0, 50, 50}, SpecOutcome::SmallerThanTemplate},
      {{100, 0, 50, 50}, SpecOutcome::OffFrame},
      {{0, 100, 50, 50}, SpecOutcome::OffFrame},
      {{200, 0, 50, 50}, SpecOutcome::OffMonitors},
      {{500, 0, 50, 50}, SpecOutcome::OutsideTarget},
      {{0, -50, 50, 50}, SpecOutcome::OutsideTarget},
  };
  for (const auto& c : table) EXPECT_EQ(Turn(SpecAt(c.roi)), c.expected) << c.roi;
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

TEST_F(CaptureTickTest, AJobQueuesBehindThoseThatWait) {
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  const auto waiting = std::make_shared<FrameJob>();
  probe.QueueJob(waiting);
  const Jobs jobs = Tick();
  ASSERT_EQ(jobs.size(), 2u);
  EXPECT_EQ(jobs[0], waiting);
}

TEST_F(CaptureTickTest, StillScreenGivesNoJob) {
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  AddSpec({0, 0, 50, 50});
  EXPECT_EQ(probe.Tick().size(), 1u) << "the first frame";
  EXPECT_EQ(probe.Tick().size(), 0u);
  EXPECT_EQ(desktop->HeldFrames(), 0);
}

TEST_F(CaptureTickTest, ForcedT1HitsTheCentreOfItsRegionUnseen) {
  const test::PrivateSession session;
  test::RawController controller;
  AddMonitor(0, 0, 300, 200);
  OpenWindow(RectAt(10, 10, 100, 100));
  TemplateSpec& spec = AddSpec({20, 10, 51, 30}, {8, 8}, L"T1");
  spec.intervalMs = 3'600'000;
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
  EXPECT_EQ(ForcedHit(spec, {}, 0).dedupWindowMs, 2'160'000u);
  EXPECT_EQ(UnitsIn(Tick()), 1u) << "matched like any other without the permission, its interval untouched";
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "and begun now";
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

}  // namespace
}  // namespace quillmark
