// The running engine on the scripted desktop: queue, contexts, start and stop.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "EngineFixture.h"
#include "support/DebugOutputCapture.h"
#include "support/Eventually.h"
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
  Specs().specs[0].revision = 0;  // evaluated again on every frame
  const auto start = Clock::now();
  engine.Start();
  probe.OccupyWorkers(release);
  EXPECT_TRUE(Eventually([&] {
    RefreshAll();
    return probe.WaitingJobs() >= 12;
  }));
  EXPECT_GE(Clock::now() - start, 2 * 20ms + 2 * 33ms + 4 * 50ms + 3 * 80ms);
  release.count_down();
  EXPECT_TRUE(Eventually([&] { return probe.WaitingJobs() == 0; }));
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
