// A remembered verdict against a plain evaluation of the frame.
//
// Threading: no shared state.
#pragma once

#include <string>
#include <tuple>
#include <utility>

#include "core/RegionCut.h"
#include "core/engine/RegionTask.h"

namespace quillmark::testing {

// The first thing in which two verdicts differ, except the hit; empty if there is none.
inline std::string DifferenceOf(const Verdict& a, const Verdict& b) {
  const auto place = [](const Verdict& v) { return std::tuple(v.found, v.loc, v.tw, v.th); };
  const auto structure = [](const Verdict& v) {
    return std::tuple(v.traits.tiny, v.traits.lowDetail, v.traits.flat, v.e1, v.e2, v.density);
  };
  const auto colour = [](const Verdict& v) {
    return std::tuple(v.colourActive, v.hsvMean, v.redRatio, v.labAMean);
  };
  const auto reported = [](const Verdict& v) { return std::tuple(v.sq, v.edgeScore, v.dedupWindowMs); };
  const std::pair<const char*, bool> same[] = {
      {"decided by", a.decidedBy == b.decidedBy}, {"place", place(a) == place(b)},
      {"difference", a.dist == b.dist},           {"structure", structure(a) == structure(b)},
      {"colour", colour(a) == colour(b)},         {"reported scores", reported(a) == reported(b)}};
  for (const auto& [what, equal] : same) {
    if (!equal) return what;
  }
  for (const GateEntry& gate : kAllGates) {
    const GateResult &x = a.*gate.result, &y = b.*gate.result;
    if (std::tuple(x.outcome, x.figure, x.limit.Value()) !=
        std::tuple(y.outcome, y.figure, y.limit.Value())) {
      return std::string(gate.name);
    }
  }
  return {};
}

// The first thing in which the verdict of a unit of the frame's job differs from the one that an evaluation
// of the frame's pixels gives, which remembers nothing; empty if there is none.
inline std::string DifferenceFromPlain(const ROIUnit& unit, const TemplateSpec& spec,
                                       const MonitorFrame& frame) {
  const Verdict& verdict = *unit.look->verdict;
  const cv::Point end = frame.origin + cv::Point(frame.bgra.cols, frame.bgra.rows);
  const RegionOnFrame place = PlaceRegion(spec, {frame.origin.x, frame.origin.y, end.x, end.y});
  ROIUnit plain = CutRegion(spec, place, frame.bgra, frame.origin);
  if (!NeedsOf(spec).bgr) plain.bgr.release();
  if (plain.clipped != unit.clipped) return "clipped";
  const Verdict expected = EvaluateRegion(plain, spec);
  const std::string difference = DifferenceOf(verdict, expected);
  if (!difference.empty() || !expected.Accepted()) return difference;
  const HitRecord hit = HitOf(unit, verdict, spec, 1);
  const bool same = std::tuple(hit.cx, hit.cy, hit.w, hit.h) ==
                    std::tuple(expected.hit.cx, expected.hit.cy, expected.hit.w, expected.hit.h);
  return same ? "" : "hit";
}

}  // namespace quillmark::testing
