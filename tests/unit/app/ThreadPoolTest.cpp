#include "app/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quillmark {
namespace {

// Counts arrivals. A std::latch does that too, but loses some in the library of the cross-compiler for
// Windows.
class Arrivals {
 public:
  void Arrive() {
    const std::lock_guard lock(mutex);
    ++count;
    changed.notify_all();
  }
  void WaitFor(int expected) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return count >= expected; });
  }

 private:
  std::mutex mutex;
  std::condition_variable changed;
  int count = 0;
};

TEST(ThreadPoolSize, IsHalfTheMachineFromTwoToSix) {
  const std::vector<std::pair<unsigned, std::size_t>> table = {{0, 2},  {1, 2},  {4, 2},  {5, 2},  {6, 3},
                                                               {7, 3},  {8, 4},  {9, 4},  {10, 5}, {11, 5},
                                                               {12, 6}, {16, 6}, {256, 6}};
  for (const auto& [hardware, threads] : table) EXPECT_EQ(ThreadPool::SizeFor(hardware), threads) << hardware;
}

TEST(ThreadPoolTest, AskedForNoWorkersStillRunsTasks) {
  ThreadPool pool(0);
  Arrivals ran;
  pool.Submit([&] { ran.Arrive(); });
  ran.WaitFor(1);
}

TEST(ThreadPoolTest, OneBusyWorkerTakesWaitingTasksInOrder) {
  Arrivals release;
  std::vector<int> order;
  {
    ThreadPool pool(1);
    pool.Submit([&] { release.WaitFor(1); });
    for (int i = 0; i < 20; ++i) pool.Submit([&order, i] { order.push_back(i); });
    release.Arrive();
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
  Arrivals together;  // passes only when four tasks are inside at the same time
  Arrivals finished;
  for (int i = 0; i < 4; ++i) {
    pool.Submit([&] {
      together.Arrive();
      together.WaitFor(4);
      finished.Arrive();
    });
  }
  finished.WaitFor(4);
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
