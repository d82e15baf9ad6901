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

Verdict EvaluateLook(const ROIUnit& unit, const TemplateSpec& spec) {
  ROIUnit shown = unit;
  static_cast<Planes&>(shown) = unit.look->picture->PlanesFor(NeedsOf(spec));
  RegionLook& look = *unit.look;
  if (!look.trace) return EvaluateRegion(shown, spec);

  SearchTrace& trace = *look.trace;
  if (trace.content == 0 || trace.content != look.before) trace.map = {};
  trace.content = 0;
  const Verdict verdict =
      EvaluateRegion(shown, spec, Thoroughness::UpToTheFirstVeto, {}, {&trace.map, look.changed});
  if (!trace.share.GrowTo(trace.map.Bytes())) {
    trace.map = {};
    trace.share.GrowTo(0);
  }
  trace.content = look.content;
  return verdict;
}

HitRecord HitOf(const ROIUnit& unit, const Verdict& verdict, const TemplateSpec& spec, std::uint64_t tsMs) {
  const HitGeometry place = LocateHit(unit, spec.targetRect, {verdict.loc, cv::Size(verdict.tw, verdict.th)});
  HitRecord hit;
  hit.name = spec.name;
  hit.cx = place.cx;
  hit.cy = place.cy;
  hit.w = place.w;
  hit.h = place.h;
  hit.sq = verdict.sq;
  hit.edge = verdict.edgeScore;
  hit.tsMs = tsMs;
  hit.dedupWindowMs = verdict.dedupWindowMs;
  return hit;
}

void ReportVerdict(const ROIUnit& unit, const TemplateSpec& spec, RingSender& sender) {
  const Verdict& verdict = *unit.look->verdict;
  if (verdict.Accepted()) sender.Enqueue(HitOf(unit, verdict, spec, WallClockMs()));
}

void EvaluateROI(const ROIUnit& unit, const FrameJob& job, PendingTasks& pendingTasks, RingSender& sender,
                 SampledErrors& errors) noexcept {
  // Signalled last: the waiter may then destroy job and counter.
  struct Completion {
    PendingTasks& tasks;
    ~Completion() { tasks.Done(); }
  } const completion{pendingTasks};

  const TemplateSpec& spec = job.SpecOf(unit);
  try {
    unit.look->verdict = EvaluateLook(unit, spec);
    unit.look->picture.End();
    ReportVerdict(unit, spec, sender);
  } catch (const std::exception& error) {
    ReportTaskError(spec.name, error, errors);
  }
}

}  // namespace quillmark
