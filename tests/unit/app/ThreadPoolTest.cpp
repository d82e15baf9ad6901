#include "app/ThreadPool.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <latch>
#include <memory>
#include <vector>

namespace quillmark {
namespace {

TEST(ThreadPoolSize, IsHalfTheMachineFromTwoToSix) {
  const std::vector<std::pair<unsigned, std::size_t>> table = {{0, 2},  {1, 2},  {4, 2},  {5, 2},  {6, 3},
                                                               {7, 3},  {8, 4},  {9, 4},  {10, 5}, {11, 5},
                                                               {12, 6}, {16, 6}, {256, 6}};
  for (const auto& [hardware, threads] : table) EXPECT_EQ(ThreadPool::SizeFor(hardware), threads) << hardware;
}

TEST(ThreadPoolTest, AskedForNoWorkersStillRunsTasks) {
  ThreadPool pool(0);
  std::latch ran(1);
  pool.Submit([&] { ran.count_down(); });
  ran.wait();
}

TEST(ThreadPoolTest, OneBusyWorkerTakesWaitingTasksInOrder) {
  std::latch release(1);
  std::vector<int> order;
  {
    ThreadPool pool(1);
    pool.Submit([&] { release.wait(); });
    for (int i = 0; i < 20; ++i) pool.Submit([&order, i] { order.push_back(i); });
    release.count_down();
  }
  std::vector<int> expected(20);
  for (int i = 0; i < 20; ++i) expected[i] = i;
  EXPECT_EQ(order, expected);
}

TEST(ThreadPoolTest, DestructionRunsEverythingQueuedBefore) {
  std::atomic<int> ran{0};
  {
    ThreadPool pool(3);
    for (int i = 0; i < 100; ++i) pool.Submit([&] { ++ran; });
  }
  EXPECT_EQ(ran, 100);
}

TEST(ThreadPoolTest, RunsAsManyTasksAtOnceAsItHasWorkers) {
  ThreadPool pool(4);
  std::latch together(4);  // passes only when four tasks are inside at the same time
  std::latch finished(4);
  for (int i = 0; i < 4; ++i) {
    pool.Submit([&] {
      together.arrive_and_wait();
      finished.count_down();
    });
  }
  finished.wait();
}

TEST(ThreadPoolTest, DestroysATaskOnceItHasRun) {
  ThreadPool pool(2);
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = held;
  pool.Submit([held = std::move(held)] {});
  while (!watch.expired()) std::this_thread::yield();
}

}  // namespace
}  // namespace quillmark
