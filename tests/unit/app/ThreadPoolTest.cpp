#include "app/frame/ThreadPool.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace quillmark {
namespace {

// Counts arrivals, as std::latch does: that one loses some with the cross-compiler for Windows.
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
  const std::pair<unsigned, std::size_t> table[] = {{0, 2}, {1, 2},  {5, 2},  {6, 3},
                                                    {7, 3}, {12, 6}, {16, 6}, {256, 6}};
  for (const auto& [hardware, threads] : table) EXPECT_EQ(ThreadPool::SizeFor(hardware), threads) << hardware;
}

TEST(ThreadPoolTest, OneWorkerRunsTheWaitingTasksInOrderBeforeItEnds) {
  for (const std::size_t asked : {0, 1}) {
    Arrivals release;
    std::vector<int> order, expected;
    {
      ThreadPool pool(asked);
      pool.Submit([&] { release.WaitFor(1); });
      for (int i = 0; i < 20; ++i) {
        pool.Submit([&order, i] { order.push_back(i); });
        expected.push_back(i);
      }
      release.Arrive();
    }
    EXPECT_EQ(order, expected);
  }
}

TEST(ThreadPoolTest, RunsAsManyTasksAtOnceAsItHasWorkers) {
  Arrivals together;  // lets four tasks go once all of them are running
  ThreadPool pool(4);
  for (int i = 0; i < 4; ++i) {
    pool.Submit([&] {
      together.Arrive();
      together.WaitFor(4);
    });
  }
  together.WaitFor(4);
}

}  // namespace
}  // namespace quillmark
