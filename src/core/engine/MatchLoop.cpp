// The engine's match thread: takes one job at a time and spreads its regions over the pool.
#include <chrono>
#include <exception>

#include "core/engine/AutoRebinder.h"
#include "core/engine/RegionTask.h"

namespace quillmark {

namespace {
constexpr auto kQueuePoll = std::chrono::milliseconds(1);
}

void AutoRebinder::MatchLoop() {
  while (!stopRequested) {
    std::shared_ptr<FrameJob> job;
    {
      const std::lock_guard lock(jobQueueMutex);
      if (!jobQueue.empty()) {
        job = std::move(jobQueue.front());
        jobQueue.pop_front();
      }
    }
    if (job) {
      RunJob(*job);
    } else {
      std::this_thread::sleep_for(kQueuePoll);
    }
  }
}

void AutoRebinder::RunJob(const FrameJob& job) {
  PendingTasks tasks;
  for (const ROIUnit& unit : job.units) {
    tasks.Add();
    try {
      pool->Submit([this, unit, &job, &tasks] { EvaluateROI(unit, job, tasks, sender, taskErrors); });
    } catch (const std::exception& error) {
      tasks.Done();
      ReportTaskError(job.specs[unit.specIndex].name, error, taskErrors);
    }
  }
  // Also when stopping: the tasks refer to the job and to the counter.
  tasks.WaitForAll();
}

}  // namespace quillmark
