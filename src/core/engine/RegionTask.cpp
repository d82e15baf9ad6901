#include "core/engine/RegionTask.h"

#include "ipc/WallClock.h"
#include "log/AsyncLogger.h"
#include "specs/Utf8.h"

namespace quillmark {

void ReportTaskError(const std::wstring& name, const std::exception& error, SampledErrors& errors) noexcept {
  try {
    const std::uint64_t number = errors.Count(name);
    if (number != 0) LogLine(L"[Match] error ", number, L" of name=", name, L": ", CauseOf(error));
  } catch (const std::exception&) {
    // No memory for the line.
  }
}

HitRecord HitOf(const Verdict& verdict, const TemplateSpec& spec, std::uint64_t tsMs) {
  HitRecord hit;
  hit.name = spec.name;
  hit.cx = verdict.hit.cx;
  hit.cy = verdict.hit.cy;
  hit.w = verdict.hit.w;
  hit.h = verdict.hit.h;
  hit.sq = verdict.sq;
  hit.edge = verdict.edgeScore;
  hit.tsMs = tsMs;
  hit.dedupWindowMs = verdict.dedupWindowMs;
  return hit;
}

void EvaluateROI(const ROIUnit& unit, const FrameJob& job, PendingTasks& pendingTasks, RingSender& sender,
                 SampledErrors& errors) noexcept {
  // Signalled last: the waiter may then destroy job and counter.
  struct Completion {
    PendingTasks& tasks;
    ~Completion() { tasks.Done(); }
  } const completion{pendingTasks};

  const TemplateSpec& spec = job.specs[unit.specIndex];
  try {
    const Verdict verdict = EvaluateRegion(unit, spec);
    if (!verdict.Accepted()) return;
    sender.Enqueue(HitOf(verdict, spec, WallClockMs()));
  } catch (const std::exception& error) {
    ReportTaskError(spec.name, error, errors);
  }
}

}  // namespace quillmark
