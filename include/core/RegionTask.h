// The task around the decision of one region: turns an accepted verdict into a hit and always signals
// completion.
//
// Threading: EvaluateROI on any worker; a PendingTasks is shared by the tasks of one job and their waiter.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>

#include "core/FrameJob.h"
#include "core/RegionEvaluation.h"
#include "core/SampledErrors.h"
#include "ipc/RingSender.h"

namespace quillmark {

// Tasks of one job that have not finished yet. Every change and every signal is made under the lock: a
// waiter that has seen zero may destroy the counter at once.
class PendingTasks {
 public:
  void Add() {
    const std::lock_guard lock(doneMutex);
    ++pending;
  }
  void Done() {
    const std::lock_guard lock(doneMutex);
    --pending;
    doneCv.notify_one();
  }
  void WaitForAll() {
    std::unique_lock lock(doneMutex);
    doneCv.wait(lock, [this] { return pending == 0; });
  }

 private:
  std::mutex doneMutex;  // guards pending
  std::condition_variable doneCv;
  std::int32_t pending = 0;
};

// Logs why a region of the spec was not evaluated, the first error of a spec and then one in a hundred.
void ReportTaskError(const std::wstring& name, const std::exception& error, SampledErrors& errors) noexcept;

// The hit that an accepted verdict on the spec is reported by.
[[nodiscard]] HitRecord HitOf(const Verdict& verdict, const TemplateSpec& spec, std::uint64_t tsMs);

// Evaluates the unit against its spec of the job, hands an accepted match to the sender, and counts itself
// as done on every road. Nothing is raised: an error of the evaluation counts as no match and is reported.
void EvaluateROI(const ROIUnit& unit, const FrameJob& job, PendingTasks& pendingTasks, RingSender& sender,
                 SampledErrors& errors) noexcept;

}  // namespace quillmark
