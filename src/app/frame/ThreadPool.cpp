#include "app/frame/ThreadPool.h"

#include <algorithm>
#include <utility>

namespace quillmark {

std::size_t ThreadPool::SizeFor(unsigned hardwareThreads) {
  return std::clamp<std::size_t>(hardwareThreads / 2, 2, 6);
}

ThreadPool::ThreadPool(std::size_t n) {
  const std::size_t count = std::max<std::size_t>(n, 1);
  threads.reserve(count);
  try {
    while (threads.size() < count) threads.emplace_back([this] { RunWorker(); });
  } catch (...) {
    StopAndJoin();
    throw;
  }
}

ThreadPool::~ThreadPool() noexcept(false) {
  StopAndJoin();
}

void ThreadPool::Submit(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex);
    tasks.push_back(std::move(task));
  }
  wakeup.notify_one();
}

void ThreadPool::RunWorker() {
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex);
      wakeup.wait(lock, [this] { return stop || !tasks.empty(); });
      if (tasks.empty()) return;
      task = std::move(tasks.front());
      tasks.pop_front();
    }
    task();
  }
}

void ThreadPool::StopAndJoin() {
  {
    const std::lock_guard lock(mutex);
    stop = true;
  }
  wakeup.notify_all();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace quillmark
