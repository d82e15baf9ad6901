#include "core/RegionTask.h"

#include <utility>

#include "core/RegionEvaluation.h"
#include "ipc/WallClock.h"
#include "log/AsyncLogger.h"
#include "specs/Utf8.h"

namespace quillmark {

void ReportTaskError(const std::wstring& name, const std::exception& error, SampledErrors& errors) noexcept {
  try {
    const std::uint64_t number = errors.Count(name);
    if (number != 0) LogLine(L"[Match] error ", number, L" of name=", name, L": ", CauseOf(error));
  } catch (const std::exception&) {
    // No memory for the line; the matching goes on.
  }
}

void EvaluateROI(const ROIUnit& unit, const FrameJob& job, PendingTasks& pendingTasks, RingSender& sender,
                 SampledErrors& errors) noexcept {
  // The last thing to happen: after it, job and counter may be gone.
  struct Completion {
    PendingTasks& tasks;
    ~Completion() { tasks.Done(); }
  } const completion{pendingTasks};

  const TemplateSpec& spec = job.specs[unit.specIndex];
  try {
    const Verdict verdict = EvaluateRegion(unit, spec);
    if (!verdict.Accepted()) return;
    HitRecord hit;
    hit.name = spec.name;
    hit.cx = verdict.hit.cx;
    hit.cy = verdict.hit.cy;
    hit.w = verdict.hit.w;
    hit.h = verdict.hit.h;
    hit.sq = verdict.sq;
    hit.edge = verdict.edgeScore;
    hit.tsMs = WallClockMs();
    hit.dedupWindowMs = verdict.dedupWindowMs;
    sender.Enqueue(std::move(hit));
  } catch (const std::exception& error) {
    ReportTaskError(spec.name, error, errors);
  }
}

}  // namespace quillmark
