// The whole engine with its threads over the scripted desktop: from painted pixels to records in the ring.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <latch>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <system_error>
#include <thread>

#include "EngineProbe.h"
#include "FailingResources.h"
#include "app/OpenCvConfig.h"
#include "specs/SpecStore.h"
#include "support/DebugOutputCapture.h"
#include "support/Eventually.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {
namespace {

using namespace std::chrono_literals;
using test::Call;
using test::Eventually;
using test::RawHit;
using test::RectAt;
using test::ScriptedDesktop;
using Clock = std::chrono::steady_clock;

cv::Mat Noise(int width, int height, std::uint64_t seed) {
  cv::Mat image(height, width, CV_8UC3);
  cv::RNG(seed).fill(image, cv::RNG::UNIFORM, 0, 256);
  return image;
}

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    ConfigureOpenCvOnce();  // before the first image is touched, as the program does
    Specs().specs.clear();
    desktop->SetWaiting(test::Waiting::UpToTimeout);
  }

  layer::WindowId OpenWindow(const RECT& client) {
    test::ScriptedWindow window;
    window.title = L"target";
    window.client = client;
    return desktop->OpenWindow(window);
  }
  // Adds a spec for a template that fills a region of the client area with some slack around it.
  void AddSpec(const std::wstring& name, const cv::Mat& image, const cv::Rect& roi) {
    const std::filesystem::path path = session.Base() / (std::string(name.begin(), name.end()) + ".png");
    ASSERT_TRUE(cv::imwrite(path.string(), image));
    LoadSpec(L"target", name, path.wstring(), roi.x, roi.y, roi.width, roi.height, 0.75f, 0.1f);
    ASSERT_FALSE(Specs().specs.empty());
  }
  // Keeps frames coming until a hit of that name is there.
  std::optional<RawHit> HitWhileRefreshing(const std::wstring& name) {
    const auto deadline = Clock::now() + 20s;
    while (Clock::now() < deadline) {
      for (const layer::MonitorFacts& monitor : desktop->Monitors()) desktop->Refresh(monitor.id);
      if (auto hit = controller.WaitForHit(name, Clock::now() + 50ms)) return hit;
    }
    return std::nullopt;
  }
  // A job of some regions of one spec.
  static std::shared_ptr<FrameJob> MakeJob(std::size_t units) {
    auto job = std::make_shared<FrameJob>();
    TemplateSpec& spec = job->specs.emplace_back();
    spec.name = L"mark";
    cv::cvtColor(Noise(40, 20, 7), spec.tmplGray, cv::COLOR_BGR2GRAY);
    ROIUnit unit;
    cv::cvtColor(Noise(400, 300, 8), unit.gray, cv::COLOR_BGR2GRAY);
    job->units.assign(units, unit);
    return job;
  }
  test::PrivateSession session;
  test::RawController controller;
  std::shared_ptr<ScriptedDesktop> desktop = ScriptedDesktop::Install();
  std::latch release{1};  // outlives the workers that wait for it
  AutoRebinder engine;
  EngineProbe probe{engine};
};

TEST_F(EngineTest, PaintedTemplateBecomesAHitAtItsExactPlace) {
  desktop->AddMonitor({RectAt(0, 0, 640, 480)});
  desktop->AddMonitor({RectAt(-640, -100, 640, 480)});
  const layer::WindowId window = OpenWindow(RectAt(100, 50, 300, 200));
  const cv::Mat image = Noise(40, 20, 1);
  AddSpec(L"mark", image, {0, 0, 300, 200});
  engine.Start();
  for (const POINT at : {POINT{120, 80}, POINT{-500, -60}}) {
    desktop->MoveWindow(window, RectAt(at.x - 20, at.y - 30, 300, 200));
    desktop->Paint(image, at);
    const std::optional<RawHit> hit = HitWhileRefreshing(L"mark");
    ASSERT_TRUE(hit) << "at " << at.x;
    EXPECT_EQ(hit->cx, 20 + 20);
    EXPECT_EQ(hit->cy, 30 + 10);
    EXPECT_EQ(hit->w, 40);
    EXPECT_EQ(hit->h, 20);
    EXPECT_GT(hit->sq, 0.99f);
    desktop->Paint(Noise(40, 20, 2), at);  // gone before the next place
  }
}

TEST_F(EngineTest, RotatedOutputsReportDesktopPositions) {
  const struct {
    DXGI_MODE_ROTATION rotation;
    LONG width, height;
  } table[] = {{DXGI_MODE_ROTATION_ROTATE90, 300, 400},
               {DXGI_MODE_ROTATION_ROTATE180, 400, 300},
               {DXGI_MODE_ROTATION_ROTATE270, 300, 400}};
  LONG left = 0;
  std::vector<POINT> places;
  const cv::Mat image = Noise(30, 24, 3);
  for (const auto& row : table) {
    test::ScriptedMonitor monitor;
    monitor.rect = RectAt(left, 0, row.width, row.height);
    monitor.rotation = row.rotation;
    desktop->AddMonitor(monitor);
    places.push_back({left + 57, 211});
    left += row.width;
  }
  const auto around = [](const POINT& place) { return RectAt(place.x - 40, 100, 200, 180); };
  // Where it is first looked for: a short move would give a hit that is off by it, in the frame of the move.
  const layer::WindowId window = OpenWindow(around(places.front()));
  AddSpec(L"turned", image, {0, 0, 200, 180});
  engine.Start();
  for (const POINT& place : places) {
    desktop->MoveWindow(window, around(place));
    desktop->Paint(image, place);
    const std::optional<RawHit> hit = HitWhileRefreshing(L"turned");
    ASSERT_TRUE(hit) << place.x;
    EXPECT_EQ(hit->cx, 40 + 15);
    EXPECT_EQ(hit->cy, 111 + 12);
    desktop->Paint(Noise(30, 24, 4), place);
  }
}

TEST_F(EngineTest, HitsResumeAfterAccessWasLostThoughTheDisplayTellsOfNoChange) {
  desktop->AddMonitor({RectAt(0, 0, 400, 300)});
  OpenWindow(RectAt(0, 0, 400, 300));
  const cv::Mat image = Noise(40, 20, 6);
  AddSpec(L"mark", image, {0, 0, 200, 100});
  desktop->Paint(image, {10, 10});
  engine.Start();
  ASSERT_TRUE(HitWhileRefreshing(L"mark"));
  desktop->LoseAccess();
  EXPECT_TRUE(HitWhileRefreshing(L"mark"));
}

TEST_F(EngineTest, BurstOfDisplayChangesRebindsOnceAfterAQuietPeriod) {
  const HMONITOR monitor = test::HandleOf(desktop->AddMonitor({RectAt(0, 0, 400, 300)}));
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
    std::this_thread::sleep_for(1s);  // held up until the first one's quiet period was over: once more
  }
  ASSERT_TRUE(Eventually([&] { return context.expired(); }));
  EXPECT_GE(Clock::now() - last, 200ms);
  context = engine.GetContext(monitor);
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(context.expired()) << "rebound again";
}

TEST_F(EngineTest, TicksSlowDownWhileJobsWait) {
  const layer::MonitorId monitor = desktop->AddMonitor({RectAt(0, 0, 400, 300)});
  OpenWindow(RectAt(0, 0, 400, 300));
  AddSpec(L"mark", Noise(40, 20, 6), {0, 0, 200, 100});
  const auto start = Clock::now();
  engine.Start();
  probe.OccupyWorkers(release);
  EXPECT_TRUE(Eventually([&] {
    desktop->Refresh(monitor);
    return probe.WaitingJobs() >= 12;
  }));
  EXPECT_GE(Clock::now() - start, 2 * 20ms + 2 * 33ms + 4 * 50ms + 3 * 80ms);
  release.count_down();
  EXPECT_TRUE(Eventually([&] { return probe.WaitingJobs() == 0; }));
}

TEST_F(EngineTest, ContextIsSharedDroppedAndNotKeptWhenItCannotBeMade) {
  const HMONITOR monitor = test::HandleOf(desktop->AddMonitor({RectAt(0, 0, 400, 300)}));
  desktop->FailNth(Call::OpenDevice, 1);
  EXPECT_THROW(engine.GetContext(monitor), std::runtime_error);
  const std::shared_ptr<DuplicationContext> context = engine.GetContext(monitor);
  EXPECT_EQ(engine.GetContext(monitor), context);
  engine.DropContext(monitor);
  EXPECT_NE(engine.GetContext(monitor), context);
  EXPECT_THROW(engine.GetContext(test::HandleOf(layer::MonitorId{12345})), std::runtime_error);
}

TEST_F(EngineTest, EmptyJobIsTakenOffTheQueueAtOnce) {
  engine.Start();
  auto job = std::make_shared<FrameJob>();
  const std::weak_ptr<FrameJob> watch = job;
  probe.QueueJob(std::move(job));
  EXPECT_TRUE(Eventually([&] { return watch.expired(); }));
}

TEST_F(EngineTest, StopLeavesNoTaskBehindAndMayComeAtAnyTime) {
  for (int round = 0; round < 20; ++round) {
    AutoRebinder short_lived;
    EngineProbe view(short_lived);
    std::shared_ptr<FrameJob> job = MakeJob(16);
    const std::weak_ptr<FrameJob> watch = job;
    short_lived.Start();
    view.QueueJob(std::move(job));
    desktop->ChangeDisplay();
    for (int i = 0; i < round; ++i) std::this_thread::yield();
    short_lived.Stop();
    short_lived.Stop();
    // Taken and finished, or never taken: nothing in between.
    EXPECT_TRUE(watch.expired() || view.WaitingJobs() == 1) << round;
    desktop->ChangeDisplay();  // reaches nobody
  }
}

TEST_F(EngineTest, JobsWaitInOrderWhileTasksOfTheOneBeforeRun) {
  test::DebugOutputCapture output;
  engine.Start();
  probe.OccupyWorkers(release);
  for (const wchar_t* const name : {L"a", L"b", L"c"}) {
    const std::shared_ptr<FrameJob> job = MakeJob(2);
    job->specs[0].name = name;
    job->units[0].gray = cv::Mat::zeros(30, 40, CV_32SC1);  // an error, which tells when its job ran
    probe.QueueJob(job);
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
    test::FailNthAllocation(n);
    probe.RunJob(*job);
    if (test::FailNthAllocation(0) == 0) ++failed;
  }
  EXPECT_GE(failed, 3);
  EXPECT_TRUE(output.WaitForLine("[Match] error 1 of name=mark: std::bad_alloc"));
}

TEST_F(EngineTest, StartWithoutEnoughThreadsRaisesAndEndsThoseItStarted) {
  for (int n = 1;; ++n) {
    AutoRebinder short_lived;
    test::FailNthThread(n);
    try {
      short_lived.Start();
      test::FailNthThread(0);
      EXPECT_GT(n, 6) << "sender, two workers at least, sink, capture, match";
      break;
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
    }
  }
}

TEST_F(EngineTest, DisplayChangeWithoutATimerThreadRebindsAtOnce) {
  const HMONITOR monitor = test::HandleOf(desktop->AddMonitor({RectAt(0, 0, 400, 300)}));
  test::DebugOutputCapture output;
  engine.Start();
  ASSERT_TRUE(Eventually([&] {  // until the sink listens
    desktop->ChangeDisplay();
    return probe.DisplayChanges() > 0;
  }));
  const std::weak_ptr<DuplicationContext> context = engine.GetContext(monitor);
  test::FailNthThread(1);
  desktop->ChangeDisplay();
  EXPECT_TRUE(output.WaitForLine("rebinding at once"));
  EXPECT_TRUE(Eventually([&] { return context.expired(); }));
}

}  // namespace
}  // namespace quillmark
