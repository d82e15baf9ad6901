#include "core/RegionTask.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "core/DelayedCalls.h"
#include "support/DebugOutputCapture.h"

namespace quillmark {
namespace {

using namespace std::chrono_literals;

// A job whose one unit makes the image library raise: crop and template differ in type.
FrameJob MismatchedJob() {
  FrameJob job;
  TemplateSpec& spec = job.specs.emplace_back();
  spec.name = L"broken";
  spec.mode = MatchMode::Bgr;
  spec.tmplGray = cv::Mat::zeros(8, 8, CV_8UC1);
  spec.tmplBgr = cv::Mat::zeros(8, 8, CV_8UC3);
  ROIUnit& unit = job.units.emplace_back();
  unit.gray = cv::Mat::zeros(20, 20, CV_8UC1);
  unit.bgr = cv::Mat::zeros(20, 20, CV_16UC1);
  return job;
}

TEST(RegionTask, ErrorOfTheEvaluationIsReportedSampledAndAlwaysCountsAsDone) {
  const FrameJob job = MismatchedJob();
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
  EXPECT_EQ(output.Count("of name=broken"), 3u);
  EXPECT_EQ(output.Count("error 101 of name=broken"), 1u);
  EXPECT_EQ(output.Lines().size(), 3u) << "one line each, however many the cause has";
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

TEST(DelayedCallsTest, RunsACallAfterItsDelayAndNotBefore) {
  std::atomic<bool> ran{false};
  const auto start = std::chrono::steady_clock::now();
  std::atomic<std::chrono::steady_clock::time_point> at{};
  DelayedCalls calls;
  calls.After(50ms, [&] {
    at = std::chrono::steady_clock::now();
    ran = true;
    ran.notify_all();
  });
  ran.wait(false);
  EXPECT_GE(at.load() - start, 50ms);
}

TEST(DelayedCallsTest, StopDropsWaitingCallsAtOnceAndRefusesNewOnes) {
  std::atomic<int> ran{0};
  const auto start = std::chrono::steady_clock::now();
  DelayedCalls calls;
  for (int i = 0; i < 10; ++i) calls.After(1h, [&] { ++ran; });
  calls.Stop();
  calls.After(0ms, [&] { ++ran; });
  calls.Stop();
  EXPECT_EQ(ran, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 30min);
}

}  // namespace
}  // namespace quillmark
