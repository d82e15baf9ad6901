// The engine's match thread: takes one job at a time and spreads its regions over the pool.
#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "core/engine/AutoRebinder.h"
#include "core/engine/RegionTask.h"

namespace quillmark {

using Clock = std::chrono::steady_clock;

void AutoRebinder::QueueJob(std::shared_ptr<FrameJob> job) {
  {
    const std::lock_guard lock(jobQueueMutex);
    jobQueue.push_back(std::move(job));
  }
  jobQueueWakeup.notify_one();
}

bool AutoRebinder::MatchingIsBehind() const {
  const Clock::duration soFar = jobStart ? Clock::now() - *jobStart : Clock::duration{};
  return Tick::BeginsLate(jobQueue, std::max(lastJobTime, soFar));
}

void AutoRebinder::MatchLoop() {
  for (;;) {
    std::shared_ptr<FrameJob> job;
    {
      std::unique_lock lock(jobQueueMutex);
      jobQueueWakeup.wait(lock, [this] { return stopRequested || !jobQueue.empty(); });
      if (stopRequested) return;
      job = std::move(jobQueue.front());
      jobQueue.pop_front();
      jobStart = Clock::now();
    }
    jobProgress.notify_one();
    RunJob(*job);
    {
      const std::lock_guard lock(jobQueueMutex);
      lastJobTime = Clock::now() - *jobStart;
      jobStart.reset();
    }
    jobProgress.notify_one();
  }
}

void AutoRebinder::RunJob(const FrameJob& job) {
  PendingTasks tasks;
  for (const ROIUnit& unit : job.units) {
    const TemplateSpec& spec = job.SpecOf(unit);
    tasks.Add();
    try {
      if (unit.look->verdict) {
        ReportVerdict(unit, spec, sender);
        tasks.Done();
        continue;
      }
      pool->Submit([this, &unit, &job, &tasks] { EvaluateROI(unit, job, tasks, sender, taskErrors); });
    } catch (const std::exception& error) {
      tasks.Done();
      ReportTaskError(spec.name, error, taskErrors);
    }
  }
  // Also when stopping: the tasks refer to the job and to the counter.
  tasks.WaitForAll();
}

}  // namespace quillmark
