#include "core/engine/RegionTask.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <tuple>
#include <vector>

#include "core/engine/DelayedCalls.h"
#include "support/DebugOutputCapture.h"

namespace quillmark {
namespace {

using namespace std::chrono_literals;

TEST(RegionTask, LogsOneErrorInAHundredAndAlwaysSignalsCompletion) {
  FrameJob job;  // its crop makes the image library raise
  TemplateSpec& spec = job.specs.emplace_back();
  spec.name = L"broken";
  spec.tmplGray = cv::Mat::zeros(8, 8, CV_8UC1);
  job.units.emplace_back().gray = cv::Mat::zeros(20, 20, CV_32SC1);
  RingSender sender;
  SampledErrors errors;
  test::DebugOutputCapture output;
  for (int i = 0; i < 201; ++i) {
    PendingTasks tasks;
    tasks.Add();
    EvaluateROI(job.units[0], job, tasks, sender, errors);
    tasks.WaitForAll();
  }
  ASSERT_TRUE(output.WaitForLine("error 201 of name=broken"));
  EXPECT_EQ(output.Count("error 101 of name=broken"), 1u);
  EXPECT_EQ(output.Lines().size(), 3u) << "one line each, even if the cause has several";
}

TEST(RegionTask, HitHasTheVerdictsFiguresAndTheSpecsName) {
  TemplateSpec spec;
  spec.name = L"mark";
  Verdict verdict;
  verdict.hit = {.desktopX = 1, .desktopY = 2, .cx = 3, .cy = 4, .w = 5, .h = 6};
  verdict.sq = 0.7f;
  verdict.edgeScore = 0.8f;
  verdict.dedupWindowMs = 9;
  const HitRecord hit = HitOf(verdict, spec, 10);
  EXPECT_EQ(std::tie(hit.name, hit.cx, hit.cy, hit.w, hit.h, hit.sq, hit.edge, hit.dedupWindowMs, hit.tsMs),
            std::tuple(L"mark", 3, 4, 5, 6, 0.7f, 0.8f, 9u, 10u));
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
