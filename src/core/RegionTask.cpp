#include "core/RegionTask.h"

#include <exception>
#include <utility>

#include "core/RegionEvaluation.h"
#include "ipc/WallClock.h"
#include "log/AsyncLogger.h"

namespace quillmark {

namespace {

void ReportError(const std::wstring& name, const char* what, SampledErrors& errors) {
  const std::uint64_t number = errors.Count(name);
  if (number == 0) return;
  LogLine(L"[Match] error ", number, L" of name=", name, L": ", what);
}

}  // namespace

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
    ReportError(spec.name, error.what(), errors);
  }
}

}  // namespace quillmark
