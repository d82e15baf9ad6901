// The regions that a tick cuts out of the monitors' frames.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "EngineFixture.h"
#include "support/Jobs.h"
#include "support/RawController.h"

namespace quillmark {
namespace {

using test::Call;
using test::RectAt;
using ::testing::ElementsAre;

class CaptureTickTest : public EngineFixture {};

TEST_F(CaptureTickTest, CutsARegionOnEachMonitorItTouchesOrOnThePinnedOne) {
  AddMonitor(0, 0);
  AddMonitor(-300, -50);
  const layer::WindowId window = OpenWindow(RectAt(-60, 0, 120, 100));
  TemplateSpec& spec = AddSpec({0, 0, 120, 100});
  const Jobs jobs = Tick();
  EXPECT_THAT(RegionsIn(jobs), ::testing::UnorderedElementsAre(Rect{-60, 0, 0, 100}, Rect{0, 0, 60, 100}));
  for (const auto& job : jobs) EXPECT_TRUE(job->units.at(0).clipped);
  spec.monitorPin = -1;
  EXPECT_THAT(RegionsIn(Tick()), ElementsAre(Rect{0, 0, 60, 100})) << "on the primary one";
  spec.monitorPin = 9;
  desktop->MoveWindow(window, RectAt(-160, 0, 120, 100));
  EXPECT_THAT(RegionsIn(Tick()), ElementsAre(Rect{-160, 0, -40, 100})) << "on the nearest one";
}

TEST_F(CaptureTickTest, AsksForATargetOnceHoweverManySpecsNameIt) {
  ShowOneSpec();
  const auto questions = [&](std::size_t units) {
    const int before = desktop->UsesOf(Call::Window);
    EXPECT_EQ(UnitsIn(Tick()), units);
    return desktop->UsesOf(Call::Window) - before;
  };
  const int one = questions(1);
  for (const wchar_t* name : {L"second", L"third"}) AddSpec({50, 0, 50, 50}, name);
  EXPECT_EQ(questions(3), one);
}

TEST_F(CaptureTickTest, DivisorCountsTheFramesOfAllMonitorsTogether) {
  AddMonitor(0, 0);
  AddMonitor(300, 0);
  OpenWindow(RectAt(250, 10, 100, 100));
  AddSpec({0, 0, 100, 50}).frameDivisor = 2;
  // Of the two frames of a tick, one has an even number. Counted for each monitor: 2, 0, 2, 0.
  std::vector<std::size_t> units;
  for (int tick = 0; tick < 4; ++tick) units.push_back(UnitsIn(Tick()));
  EXPECT_THAT(units, ElementsAre(1, 1, 1, 1));
}

TEST_F(CaptureTickTest, QueuesAJobLastForEachNewFrameEvenWithoutRegions) {
  ShowOneSpec();
  Specs().specs[0].roi = {0, 0, 4, 4};
  const auto waiting = std::make_shared<FrameJob>();
  probe.QueueJob(waiting);
  const Jobs jobs = Tick();
  ASSERT_EQ(jobs.size(), 2u);
  EXPECT_EQ(jobs[0], waiting);
  EXPECT_TRUE(jobs[1]->units.empty());
  EXPECT_EQ(probe.Tick().size(), 0u) << "a still screen";
  EXPECT_EQ(desktop->HeldFrames(), 0);
}

TEST_F(CaptureTickTest, ForcedT1HitsTheCentreOfItsRegion) {
  test::RawController controller;
  AddMonitor(0, 0);
  OpenWindow(RectAt(10, 10, 100, 100));
  TemplateSpec& spec = AddSpec({20, 10, 51, 30}, L"T1");
  spec.intervalMs = 3'600'000;
  ::setenv("QM_FORCE_T1_ALLOW", "1", 1);
  EXPECT_EQ(UnitsIn(Tick()), 0u);
  ::unsetenv("QM_FORCE_T1_ALLOW");
  probe.Sender().Start();
  const std::optional<test::RawHit> hit = controller.WaitForHit(L"T1");
  ASSERT_TRUE(hit);
  EXPECT_EQ(std::tie(hit->cx, hit->cy, hit->w, hit->sq), std::tuple(45, 25, 8, 0.99f));
  EXPECT_EQ(ForcedHit(spec, {}, 0).dedupWindowMs, 2'160'000u);
  EXPECT_EQ(UnitsIn(Tick()), 1u) << "without the permission, and no interval begun";
  EXPECT_EQ(UnitsIn(Tick()), 0u) << "begun now";
}

// A tick without the engine.
class TickTest : public ::testing::Test {
 protected:
  static TargetBinding Bound(const TemplateSpec&) {
    TargetBinding binding;
    binding.outcome = BindingOutcome::Bound;
    binding.clientArea = {0, 0, 500, 500};
    return binding;
  }
  // The frame is smaller than the monitor.
  SpecOutcome Turn(const TemplateSpec& spec, std::int64_t tMs = 0, layer::MonitorId monitor = 1) {
    SpecOutcome outcome{};
    const SpecListener listener = [&](const SpecTurn& turn) { outcome = turn.outcome; };
    const HMONITOR handle = test::HandleOf(monitor);
    tick.Bind(ListOf({spec}), Bound, listener);
    tick.Group({{handle, RectAt(0, 0, 200, 200)}}, SystemMonitors(), listener);
    if (!tick.Groups().empty()) tick.Commit(handle, *tick.Cut({handle, {}, 0, picture}, tMs, listener));
    return outcome;
  }
  static SpecList ListOf(std::vector<TemplateSpec> specs) {
    return std::make_shared<const std::vector<TemplateSpec>>(std::move(specs));
  }
  static TemplateSpec SpecAt(const cv::Rect& roi, const std::wstring& name = L"spec") {
    TemplateSpec spec;
    spec.name = name;
    spec.roi = roi;
    spec.tmplGray = cv::Mat::zeros(8, 8, CV_8UC1);
    return spec;
  }

  const cv::Mat picture = cv::Mat::zeros(100, 100, CV_8UC4);
  Tick tick;
};

TEST_F(TickTest, SlowsDownAsJobsPileUp) {
  for (const auto& [waiting, intervalMs] :
       {std::pair{0, 20}, {1, 20}, {2, 33}, {3, 33}, {4, 50}, {7, 50}, {8, 80}}) {
    EXPECT_EQ(Tick::IntervalMs(waiting), intervalMs) << waiting;
  }
}

TEST_F(TickTest, BeginsLateWhenWaitingJobsTakeLongOrHoldMuch) {
  using std::chrono::milliseconds;
  const auto jobs = [](std::size_t count, cv::Size region, std::uint64_t content) {
    JobQueue waiting;
    for (std::size_t i = 0; i < count; ++i) {
      waiting.push_back(testing::JobOf(SpecAt({}), region, 2));
      for (const ROIUnit& unit : waiting.back()->units) unit.look->content = content;
    }
    return waiting;
  };
  EXPECT_FALSE(Tick::BeginsLate({}, milliseconds(9000)));
  EXPECT_FALSE(Tick::BeginsLate(jobs(5, {8, 8}, 0), milliseconds(50)));
  EXPECT_TRUE(Tick::BeginsLate(jobs(5, {8, 8}, 0), milliseconds(51)));
  const cv::Size region(4096, 4096);  // 64 MiB
  EXPECT_FALSE(Tick::BeginsLate(jobs(2, region, 0), {}));
  EXPECT_TRUE(Tick::BeginsLate(jobs(3, region, 0), {}));
  EXPECT_FALSE(Tick::BeginsLate(jobs(3, region, 1), {})) << "one picture";
}

TEST_F(TickTest, IntervalsAreKeptForEachSpecOnEachMonitor) {
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
    EXPECT_EQ(Turn(SpecAt({0, 0, 50, 50}, c.name)), c.forced ? SpecOutcome::Forced : SpecOutcome::Cut)
        << c.name << " " << (c.permission != nullptr ? c.permission : "unset");
    ::unsetenv("QM_FORCE_T1_ALLOW");
  }
}

TEST_F(TickTest, GroupsBoundSpecsByTheMonitorsTheyTouchOrArePinnedTo) {
  const MonitorEntry one{test::HandleOf(layer::MonitorId{1}), RectAt(0, 0, 100, 100)};
  const MonitorEntry two{test::HandleOf(layer::MonitorId{2}), RectAt(100, 0, 100, 100)};
  const HMONITOR primary = test::HandleOf(layer::MonitorId{3}), nearest = test::HandleOf(layer::MonitorId{4});
  std::vector<TemplateSpec> specs{SpecAt({0, 0, 50, 50}, L"unbound"), SpecAt({50, 0, 100, 50})};
  for (const std::int32_t pin : {0, 1, 2, 3, -1, -2}) {
    specs.push_back(SpecAt({0, 0, 50, 50}));
    specs.back().monitorPin = pin;
  }
  tick.Bind(ListOf(std::move(specs)), [](const TemplateSpec& spec) {
    TargetBinding binding = Bound(spec);
    if (spec.name == L"unbound") binding.outcome = BindingOutcome::NoMonitor;
    return binding;
  });
  tick.Group({one, two}, {[=] { return primary; }, [=](const Rect&) { return nearest; }});
  EXPECT_EQ(
      tick.Groups(),
      (MonitorGroups{{one.monitor, {1, 2, 3}}, {two.monitor, {1, 4}}, {primary, {6}}, {nearest, {5, 7}}}));
}

TEST_F(TickTest, FollowsTargetsAndMonitorsWhileTheSpecsStay) {
  const MonitorEntry one{test::HandleOf(layer::MonitorId{1}), RectAt(0, 0, 100, 100)};
  const MonitorEntry two{test::HandleOf(layer::MonitorId{2}), RectAt(100, 0, 100, 100)};
  const SpecList specs = ListOf({SpecAt({0, 0, 50, 50})});
  TargetBinding binding = Bound(specs->front());
  const auto groups = [&](const std::vector<MonitorEntry>& monitors) {
    tick.Bind(specs, [&](const TemplateSpec&) { return binding; });
    tick.Group(monitors);
    return tick.Groups();
  };
  EXPECT_EQ(groups({one, two}), (MonitorGroups{{one.monitor, {0}}}));
  binding.clientArea = {100, 0, 200, 100};
  EXPECT_EQ(groups({one, two}), (MonitorGroups{{two.monitor, {0}}}));
  EXPECT_EQ(groups({one}), MonitorGroups{});
}

TEST_F(TickTest, RegionOutsideTheTargetMonitorOrFrameIsNotCut) {
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

}  // namespace
}  // namespace quillmark
