// The task that evaluates one region: sends a hit for an accepted verdict and always signals completion.
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
#include "core/engine/RegionMemory.h"
#include "core/engine/SampledErrors.h"
#include "ipc/RingSender.h"

namespace quillmark {

// Counts a job's unfinished tasks. Signals under the lock, so that a waiter that has seen zero may destroy
// the counter at once.
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

// Logs why a region of the spec was not evaluated: the spec's first error, then one in a hundred.
void ReportTaskError(const std::wstring& name, const std::exception& error, SampledErrors& errors) noexcept;

// Evaluates what the unit's look shows. Raises what EvaluateRegion raises.
[[nodiscard]] Verdict EvaluateLook(const ROIUnit& unit, const TemplateSpec& spec);

// The hit that reports an accepted verdict on the unit's look, where the unit is now.
[[nodiscard]] HitRecord HitOf(const ROIUnit& unit, const Verdict& verdict, const TemplateSpec& spec,
                              std::uint64_t tsMs);

// Passes a hit to the sender if the verdict of the unit's look, which must be there, is accepted.
void ReportVerdict(const ROIUnit& unit, const TemplateSpec& spec, RingSender& sender);

// Evaluates the unit's look, keeps the verdict there, reports it, and always signals completion. An error of
// the evaluation is logged and counts as no match; the next frame with this look evaluates it again.
void EvaluateROI(const ROIUnit& unit, const FrameJob& job, PendingTasks& pendingTasks, RingSender& sender,
                 SampledErrors& errors) noexcept;

}  // namespace quillmark
