// The running engine on the scripted desktop: queue, contexts, start and stop.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "EngineFixture.h"
#include "support/DebugOutputCapture.h"
#include "support/Eventually.h"
#include "support/Images.h"
#include "support/Jobs.h"
#include "support/RawController.h"

namespace quillmark {
namespace {

using namespace std::chrono_literals;
using test::Call;
using test::Eventually;
using Clock = std::chrono::steady_clock;

class EngineTest : public EngineFixture {
 protected:
  EngineTest() { desktop->SetWaiting(test::Waiting::UpToTimeout); }

  // A job with this many regions of one spec.
  static std::shared_ptr<FrameJob> MakeJob(std::size_t units, const wchar_t* name = L"mark",
                                           int type = CV_8UC1) {
    TemplateSpec spec;
    spec.name = name;
    spec.tmplGray.create(20, 40, type);
    cv::randu(spec.tmplGray, 0, 256);
    return testing::JobOf(std::move(spec), {400, 300}, units);
  }
};

TEST_F(EngineTest, BurstOfDisplayChangesRebindsOnceAfterAQuietPeriod) {
  const HMONITOR monitor = AddMonitor(0, 0);
  std::weak_ptr<DuplicationContext> context;
  Clock::time_point first, last;
  for (;;) {
    context = engine.GetContext(monitor);
    first = Clock::now();
    probe.ChangeDisplay();
    std::this_thread::sleep_until(first + 100ms);
    last = Clock::now();
    probe.ChangeDisplay();
    if (Clock::now() - first < 200ms) break;
    std::this_thread::sleep_for(1s);  // delayed beyond the first one's quiet period: try again
  }
  ASSERT_TRUE(Eventually([&] { return context.expired(); }));
  EXPECT_GE(Clock::now() - last, 200ms);
  context = engine.GetContext(monitor);
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(context.expired()) << "rebound again";
}

TEST_F(EngineTest, TicksSlowDownWhileJobsWait) {
  ShowOneSpec();
  engine.Start();
  const std::shared_ptr<FrameJob> work = MakeJob(1, L"mark", CV_32SC1);  // raises at once
  const auto start = Clock::now();
  while (Clock::now() < start + 400ms) {
    RefreshAll();
    if (probe.WaitingJobs() < 500) probe.QueueJob(work);
  }
  EXPECT_LE(probe.FramesCaptured(), 3u + (Clock::now() - start) / 80ms) << "the first ones sooner";
}

TEST_F(EngineTest, TickBeginsLateWhileMatchingIsBehind) {
  ShowOneSpec();
  Specs().specs[0].revision = 0;  // evaluated again on every frame
  engine.Start();
  probe.OccupyWorkers(release);
  ASSERT_TRUE(Eventually([&] {
    RefreshAll();
    return probe.MatchingIsBehind();
  }));
  const std::uint64_t frames = probe.FramesCaptured() + 1;  // a tick may have begun
  const auto until = Clock::now() + 200ms;
  while (Clock::now() < until) {
    RefreshAll();
    ASSERT_LE(probe.FramesCaptured(), frames);
  }
  release.count_down();
  EXPECT_TRUE(Eventually([&] {
    RefreshAll();
    return probe.FramesCaptured() > frames;
  }));
}

TEST_F(EngineTest, StopEndsTheWaitForMatching) {
  ShowOneSpec();
  engine.Start();
  probe.OccupyWorkers(release);
  for (int job = 0; job < 9; ++job) probe.QueueJob(MakeJob(1));
  ASSERT_TRUE(Eventually([&] { return probe.MatchingIsBehind(); }));
  std::thread stopper([&] { engine.Stop(); });
  EXPECT_TRUE(Eventually([&] { return probe.StopRequested(); }));
  release.count_down();  // which the match thread needs, after the request
  stopper.join();
  EXPECT_GE(probe.WaitingJobs(), 8u) << "the queued ones are not run";
}

TEST_F(EngineTest, ContextIsSharedUntilDroppedAndRetriedWhenItFails) {
  const HMONITOR monitor = AddMonitor(0, 0);
  desktop->FailNth(Call::OpenDevice, 1);
  EXPECT_THROW(engine.GetContext(monitor), std::runtime_error);
  const std::shared_ptr<DuplicationContext> context = engine.GetContext(monitor);
  EXPECT_EQ(engine.GetContext(monitor), context);
  engine.DropContext(monitor);
  EXPECT_NE(engine.GetContext(monitor), context);
  EXPECT_THROW(engine.GetContext(test::HandleOf(layer::MonitorId{12345})), std::runtime_error);
}

TEST_F(EngineTest, JobsRunInOrderOneAtATime) {
  test::DebugOutputCapture output;
  engine.Start();
  probe.OccupyWorkers(release);
  for (const wchar_t* const name : {L"a", L"b", L"c"}) {
    probe.QueueJob(MakeJob(2, name, CV_32SC1));  // raises: the error line shows when the job ran
  }
  EXPECT_TRUE(Eventually([&] { return probe.WaitingJobs() == 2; }));
  const auto until = Clock::now() + 50ms;
  while (Clock::now() < until) ASSERT_EQ(probe.WaitingJobs(), 2u);
  release.count_down();
  ASSERT_TRUE(output.WaitForCount("[Match] error 1", 3));
  std::string order;
  for (const std::string& line : output.Lines()) {
    if (const auto at = line.find("of name="); at != line.npos) order += line[at + 8];
  }
  EXPECT_EQ(order, "abc");
}

TEST_F(EngineTest, EachJobWakesTheMatchThread) {
  engine.Start();
  for (int job = 0; job < 50; ++job) {
    probe.QueueJob(MakeJob(0));
    ASSERT_TRUE(Eventually([&] { return probe.WaitingJobs() == 0; })) << job;
  }
}

TEST_F(EngineTest, RememberedVerdictHitsWithEachJob) {
  test::RawController controller;
  engine.Start();
  const std::shared_ptr<FrameJob> job = MakeJob(1);
  Verdict& verdict = job->units[0].look->verdict.emplace();
  verdict.decidedBy = DecidingStep::Accepted;
  for (int turn = 0; turn < 2; ++turn) {
    verdict.loc.x = 100 * turn;  // no repetition of the hit before
    probe.RunJob(*job);
    EXPECT_TRUE(controller.WaitForHit(L"mark")) << turn;
  }
}

// The window moves between two places that show the same; so every hit, whenever it was found, names the same
// place in the window.
TEST_F(EngineTest, SpecsTargetsAndDisplaysChangeWhileVerdictsAreRemembered) {
  test::RawController controller;
  testing::Random random(7);
  const cv::Mat icon = testing::Icon(random, {40, 20}, "AB");
  const RECT places[] = {test::RectAt(10, 10, 200, 150), test::RectAt(310, 30, 200, 150)};
  const POINT inRegion{5, 5}, iconAt{30, 40};
  AddMonitor(0, 0);
  AddMonitor(300, 0);
  const auto paint = [&](const cv::Mat& bgr, POINT at) {
    for (const RECT& place : places) desktop->Paint(bgr, {place.left + at.x, place.top + at.y});
  };
  paint(icon, iconAt);
  const layer::WindowId window = OpenWindow(places[0]);
  TemplateSpec spec = testing::PreparedSpec(icon);
  spec.name = L"mark";
  spec.target = L"target";
  spec.roi = {0, 0, 120, 100};
  spec.intervalMs = 1;  // hardly any hit is a repetition
  const auto replaceSpec = [&](int turn) {
    SpecStore& store = Specs();
    const std::lock_guard lock(store.specMutex);
    store.NoteChange();
    spec.revision = store.changes;
    spec.maxDiff = turn % 2 == 0 ? 0.1 : 0.2;
    store.specs.assign(1, spec);
  };
  replaceSpec(0);
  engine.Start();

  const std::function<void(int turn)> changes[] = {
      replaceSpec, [&](int turn) { desktop->MoveWindow(window, places[turn % 2]); },
      [&](int turn) { turn % 2 == 0 ? desktop->Minimize(window) : desktop->Restore(window); },
      [&](int turn) { paint(cv::Mat(4, 4, CV_8UC3, cv::Scalar::all(turn % 256)), inRegion); },
      [&](int turn) { turn % 8 == 0 ? desktop->LoseAccess() : probe.ChangeDisplay(); }};
  for (int round = 0; round < 4; ++round) {
    std::vector<std::jthread> threads;
    for (const auto& change : changes) {
      threads.emplace_back([&change] {
        for (int turn = 0; turn < 20; ++turn) change(turn);
      });
    }
    threads.clear();
    // Once nothing else changes, every frame brings a hit.
    controller.TakeHits();
    int hits = 0;
    const auto foundAgain = [&] {
      RefreshAll();
      for (const test::RawHit& hit : controller.TakeHits()) {
        EXPECT_EQ(cv::Point(hit.cx, hit.cy), cv::Point(iconAt.x + 20, iconAt.y + 10));
        ++hits;
      }
      return hits >= 5;
    };
    ASSERT_TRUE(Eventually(foundAgain)) << round;
  }
  EXPECT_GT(MemoryShare::Taken(), 0u);
}

TEST_F(EngineTest, EmptyTicksRepeatAfter20MsWithATargetAndElseAfterAChangeOnly) {
  // Without monitors, a tick asks for them once.
  const auto ticks = [&] { return desktop->UsesOf(Call::Monitors); };
  const auto ticksBeyond = [&](int count) { return Eventually([&] { return ticks() > count; }); };
  engine.Start();
  ASSERT_TRUE(ticksBeyond(0));
  const std::function<void()> changes[] = {[] { ClearSpecs(L"test"); }, [&] { probe.ChangeDisplay(); },
                                           [&] {
                                             AddSpec({0, 0, 50, 50}, L"no target", L"");
                                           }};
  for (const auto& change : changes) {
    const int before = ticks();
    change();
    ASSERT_TRUE(ticksBeyond(before));
    const auto until = Clock::now() + 50ms;
    while (Clock::now() < until) ASSERT_EQ(ticks(), before + 1);
  }
  const auto start = Clock::now();
  const int before = ticks();
  AddSpec({0, 0, 50, 50});
  ASSERT_TRUE(ticksBeyond(before + 3));
  EXPECT_GE(Clock::now() - start, 3 * 19ms) << "by a clock of milliseconds";
}

TEST_F(EngineTest, StopWaitsForTasksStillQueued) {
  engine.Start();
  probe.OccupyWorkers(release);
  std::shared_ptr<FrameJob> job = MakeJob(4);
  const std::weak_ptr<FrameJob> watch = job;
  probe.QueueJob(std::move(job));
  ASSERT_TRUE(Eventually([&] { return probe.WaitingJobs() == 0; }));
  std::thread releaser([&] {
    EXPECT_TRUE(Eventually([&] { return probe.StopRequested(); }));
    const auto until = Clock::now() + 20ms;
    while (Clock::now() < until && !watch.expired()) std::this_thread::yield();
    EXPECT_FALSE(watch.expired());
    release.count_down();
  });
  engine.Stop();
  releaser.join();
  EXPECT_TRUE(watch.expired());
}

TEST_F(EngineTest, TaskThatCannotBeQueuedIsReportedAndTheOthersFinish) {
  test::DebugOutputCapture output;
  engine.Start();
  int failed = 0;
  for (int n = 1; failed == n - 1; ++n) {
    const std::shared_ptr<FrameJob> job = MakeJob(3);
    FailNthAllocation(n);
    probe.RunJob(*job);
    if (FailNthAllocation(0) == 0) ++failed;
  }
  EXPECT_GE(failed, 3);
  EXPECT_TRUE(output.WaitForLine("[Match] error 1 of name=mark: std::bad_alloc"));
}

}  // namespace
}  // namespace quillmark
