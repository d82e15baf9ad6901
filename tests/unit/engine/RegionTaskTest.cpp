#include "core/engine/RegionTask.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <tuple>
#include <vector>

#include "core/engine/DelayedCalls.h"
#include "support/DebugOutputCapture.h"
#include "support/Jobs.h"

namespace quillmark {
namespace {

using namespace std::chrono_literals;

TEST(RegionTask, LogsOneErrorInAHundredAndAlwaysSignalsCompletion) {
  TemplateSpec spec;
  spec.name = L"broken";
  spec.tmplGray = cv::Mat::zeros(8, 8, CV_32SC1);  // makes the image library raise
  const std::shared_ptr<FrameJob> job = testing::JobOf(spec, {20, 20}, 1);
  RingSender sender;
  SampledErrors errors;
  test::DebugOutputCapture output;
  for (int i = 0; i < 201; ++i) {
    PendingTasks tasks;
    tasks.Add();
    EvaluateROI(job->units[0], *job, tasks, sender, errors);
    tasks.WaitForAll();
  }
  ASSERT_TRUE(output.WaitForLine("error 201 of name=broken"));
  EXPECT_EQ(output.Count("error 101 of name=broken"), 1u);
  EXPECT_EQ(output.Count("of name=broken"), 3u) << "one line each, even if the cause has several";
}

TEST(RegionTask, HitHasTheVerdictsFiguresAndTheSpecsName) {
  TemplateSpec spec;
  spec.name = L"mark";
  Verdict verdict;
  spec.targetRect = {100, 100, 200, 200};
  verdict.loc = {7, 8};
  verdict.tw = 6;
  verdict.th = 4;
  ROIUnit unit;
  unit.x = 120;
  unit.y = 130;
  verdict.sq = 0.7f;
  verdict.edgeScore = 0.8f;
  verdict.dedupWindowMs = 9;
  const HitRecord hit = HitOf(unit, verdict, spec, 10);
  EXPECT_EQ(std::tie(hit.name, hit.cx, hit.cy, hit.w, hit.h, hit.sq, hit.edge, hit.dedupWindowMs, hit.tsMs),
            std::tuple(L"mark", 30, 40, 6, 4, 0.7f, 0.8f, 9u, 10u));
}

TEST(RegionTask, WaiterMayDestroyTheCounterAsSoonAsItSeesZero) {
  for (int round = 0; round < 500; ++round) {
    std::vector<std::thread> threads;
    {
      PendingTasks tasks;
      for (int i = 0; i < 3; ++i) {
        tasks.Add();
        threads.emplace_back([&tasks] { tasks.Done(); });
      }
      tasks.WaitForAll();
    }
    for (std::thread& thread : threads) thread.join();
  }
}

TEST(DelayedCallsTest, StopDropsWaitingCallsAtOnceAndRefusesNewOnes) {
  std::atomic<int> ran{0};
  DelayedCalls calls;
  for (int i = 0; i < 10; ++i) calls.After(1h, [&] { ++ran; });
  calls.Stop();
  calls.After(0ms, [&] { ++ran; });
  calls.Stop();
  EXPECT_EQ(ran, 0);
}

}  // namespace
}  // namespace quillmark
