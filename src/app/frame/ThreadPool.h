// A fixed set of worker threads that run queued tasks in arrival order. Callers that must know when their
// tasks have finished count completions themselves.
//
// Threading: Submit from any thread; construction and destruction by the owner, outside the workers.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace quillmark {

class ThreadPool {
 public:
  // Number of workers for a machine with `hardwareThreads` (0 for unknown): half of them, from 2 to 6.
  static std::size_t SizeFor(unsigned hardwareThreads);

  // Starts max(n, 1) workers. Raises std::system_error if one cannot be started.
  explicit ThreadPool(std::size_t n);
  // Runs every task queued before, then joins the workers.
  ~ThreadPool() noexcept(false);
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // Queues the task and returns. An exception that leaves a task ends the process.
  void Submit(std::function<void()> task);

 private:
  void RunWorker();
  void StopAndJoin();

  std::vector<std::thread> threads;
  std::mutex mutex;  // guards tasks and stop
  std::condition_variable wakeup;
  std::deque<std::function<void()>> tasks;
  bool stop = false;
};

}  // namespace quillmark
