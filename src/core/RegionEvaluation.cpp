#include "core/RegionEvaluation.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <optional>

#include "core/ColorGate.h"
#include "core/Matcher.h"
#include "core/PrimarySearch.h"
#include "core/RegionGeometry.h"
#include "core/ZeroMean.h"

namespace quillmark {
namespace {

constexpr int kTinyPixels = 256;

// Keeps the share of an empty image's pixels at 0 instead of 0 / 0.
constexpr double kShareGuard = 1e-9;

Check AtMost(double value, double limit) {
  return {value, limit, value <= limit ? Outcome::Passed : Outcome::Failed};
}

Check AtLeast(double value, double limit) {
  return {value, limit, value >= limit ? Outcome::Passed : Outcome::Failed};
}

void Waive(Check& check) {
  if (check.outcome != Outcome::NotMeasured) check.outcome = Outcome::Waived;
}

void Tell(const StepComputed& computed, DecidingStep step) {
  if (computed) computed(step);
}

struct MeanAndStdDev {
  double mean, stdDev;
};

MeanAndStdDev Statistics(const cv::Mat& gray) {
  cv::Scalar mean, stdDev;
  cv::meanStdDev(gray, mean, stdDev);
  return {mean[0], stdDev[0]};
}

double ShareOfNonZero(const cv::Mat& mask) {
  return cv::countNonZero(mask) / (static_cast<double>(mask.total()) + kShareGuard);
}

double MeanLabA(const cv::Mat& bgr, const cv::Rect& rect) {
  cv::Mat lab;
  cv::cvtColor(bgr(rect), lab, cv::COLOR_BGR2Lab);
  return cv::mean(lab)[1];
}

// A clipped region gets a tolerance of at least 0.16 but never above 0.25; the hue searches, whose scores
// spread less, are then lifted to 0.35; tiny templates match by chance and are held more strictly.
double DifferenceLimit(const ROIUnit& unit, const TemplateSpec& spec, bool tiny) {
  double limit = spec.maxDiff;
  if (unit.clipped) limit = std::min(std::max(limit, 0.16), 0.25);
  if (IsHueMode(spec.mode)) return std::max(limit, 0.35);
  return tiny ? std::min(limit, 0.06) : limit;
}

bool InsideCrop(const cv::Rect& rect, const cv::Mat& crop) {
  return rect.x >= 0 && rect.y >= 0 && rect.x + rect.width <= crop.cols && rect.y + rect.height <= crop.rows;
}

// A blank white template finds a close match in any bright spot, so the spot has to be blank too.
Check CheckFlatWhite(const cv::Mat& patch, const MeanAndStdDev& tmpl) {
  if (!(tmpl.mean > 245.0 && tmpl.stdDev < 3.0)) return {};
  return AtMost(Statistics(patch).stdDev, 4.0);
}

Check CheckChroma(const ROIUnit& unit, const TemplateSpec& spec, const cv::Rect& rect) {
  const cv::Mat none;
  const cv::Mat& tmpl = spec.chromaChannel == 1 ? spec.tmplCr : spec.chromaChannel == 2 ? spec.tmplCb : none;
  if (tmpl.empty()) return {};
  cv::Mat ycrcb, plane, correlation;
  cv::cvtColor(unit.bgr(rect), ycrcb, cv::COLOR_BGR2YCrCb);
  cv::extractChannel(ycrcb, plane, spec.chromaChannel);
  cv::matchTemplate(plane, tmpl, correlation, cv::TM_CCOEFF_NORMED);
  return AtLeast(correlation.at<float>(0, 0), spec.chromaMin);
}

double NccLimit(const ROIUnit& unit, const TemplateSpec& spec, bool lowDetail) {
  double limit = 0.58;
  if (lowDetail) limit = spec.redHint ? 0.6 : 0.7;
  return unit.clipped ? std::max(limit - 0.05, 0.5) : limit;
}

// The clipped allowance comes after the floor and may go below it.
double EdgeLimit(const ROIUnit& unit, const TemplateSpec& spec, double dist) {
  const double relax = dist <= spec.edgeRelaxDiff ? spec.edgeRelaxStep : 0.0;
  const double limit = std::max(spec.edgeMin - relax, spec.edgeMinFloor);
  return unit.clipped ? limit - 0.05 : limit;
}

// False when the edge detection gave no image.
bool CompareEdges(const ROIUnit& unit, const TemplateSpec& spec, const cv::Mat& patch, Verdict& v) {
  cv::Mat edges, dilated, zeroMean;
  cv::Canny(patch, edges, 50, 150, 3, false);
  if (edges.empty()) return false;
  cv::dilate(edges, dilated, MorphKernel3x3(), cv::Point(-1, -1), 1, cv::BORDER_CONSTANT,
             cv::morphologyDefaultBorderValue());
  ToZeroMeanFloat(edges, zeroMean);
  v.e1 = Corr1x1_ZeroMean(zeroMean, spec.tmplEdgeZm);
  ToZeroMeanFloat(dilated, zeroMean);
  v.e2 = Corr1x1_ZeroMean(zeroMean, spec.tmplEdgeDilZm);
  v.edge = AtLeast(std::max(v.e1, v.e2), EdgeLimit(unit, spec, v.dist));

  v.density = ShareOfNonZero(edges);
  v.edgeDensity = AtMost(std::abs(v.density - spec.edgeDensity), 0.04);
  if (unit.clipped) Waive(v.edgeDensity);
  return true;
}

// False when the edge detection gave no image.
bool CompareStructure(const ROIUnit& unit, const TemplateSpec& spec, const cv::Mat& patch, double tmplStdDev,
                      const StepComputed& computed, Verdict& v) {
  v.lowDetail = v.tiny || spec.edgeDensity < 0.01;
  v.flatTemplate = tmplStdDev < 3.0 || spec.edgeDensity < 0.005;
  if (!v.flatTemplate) v.ncc = AtLeast(NCC1x1_Gray(patch, spec.tmplGray), NccLimit(unit, spec, v.lowDetail));
  Tell(computed, DecidingStep::Ncc);
  if (!v.lowDetail && !v.flatTemplate && !CompareEdges(unit, spec, patch, v)) return false;
  Tell(computed, DecidingStep::EdgeCorrelation);

  if (IsHueMode(spec.mode) || spec.redHint || spec.colorGate) {
    Waive(v.ncc);
    Waive(v.edge);
    Waive(v.edgeDensity);
  }
  return true;
}

// The template's mean saturation is so low that its hue and its a* mean nothing.
bool IsLowSaturation(const TemplateSpec& spec) {
  return spec.hsvMean[1] <= 15.0;
}

void CompareHsvMeans(const ROIUnit& unit, const TemplateSpec& spec, Verdict& v) {
  const double valueDistance = std::abs(v.hsvMean[2] - spec.hsvMean[2]);
  if (IsLowSaturation(spec)) {
    v.value = AtMost(valueDistance, 45.0);
    return;
  }
  const double allowance = unit.clipped ? 3.0 : 0.0;
  const double hueDistance = std::abs(v.hsvMean[0] - spec.hsvMean[0]);
  v.hue = AtMost(std::min(hueDistance, 180.0 - hueDistance), (v.lowDetail ? 18.0 : 12.0) + allowance);
  v.saturation = AtMost(std::abs(v.hsvMean[1] - spec.hsvMean[1]), (spec.vividFlat ? 8.0 : 12.0) + allowance);
  v.value = AtMost(valueDistance, (spec.vividFlat ? 10.0 : 12.0) + allowance);
}

void CompareRedness(const cv::Mat& hsvPatch, const ROIUnit& unit, const TemplateSpec& spec,
                    const cv::Rect& rect, Verdict& v) {
  cv::Mat red;
  BuildRedMaskHSV(hsvPatch, red, kRedHueLow, kRedHueHigh, kRedSatMin, kRedValMin);
  v.redRatio = ShareOfNonZero(red);
  v.red = AtMost(std::abs(v.redRatio - spec.redRatio), unit.clipped ? 0.12 : 0.08);
  if (!spec.redHint) Waive(v.red);

  v.labAMean = MeanLabA(unit.bgr, rect);
  v.labA = AtMost(std::abs(v.labAMean - spec.labAMean), unit.clipped ? 10.0 : 8.0);
  if (IsLowSaturation(spec)) Waive(v.labA);
}

// Any one of the three colour tests suffices, and a waived one counts as held: without a red hint, or with a
// colourless template, the colour tests therefore never refuse.
bool ColourAgrees(const Verdict& v) {
  const bool hsv = !v.hue.Vetoes() && !v.saturation.Vetoes() && !v.value.Vetoes();
  return hsv || !v.red.Vetoes() || !v.labA.Vetoes();
}

DecidingStep Decide(const TemplateSpec& spec, const Verdict& v) {
  if (IsHueMode(spec.mode)) return DecidingStep::Accepted;
  if (v.ncc.Vetoes()) return DecidingStep::Ncc;
  if (v.edge.Vetoes()) return DecidingStep::EdgeCorrelation;
  if (v.edgeDensity.Vetoes()) return DecidingStep::EdgeDensity;
  if (v.chroma.Vetoes()) return DecidingStep::Chroma;
  if (v.colourActive && !ColourAgrees(v)) return DecidingStep::Colour;
  return DecidingStep::Accepted;
}

HitGeometry LocateHit(const ROIUnit& unit, const Rect& target, const cv::Rect& rect) {
  const double sx = EffectiveScale(unit.scaleX), sy = EffectiveScale(unit.scaleY);
  const cv::Point centre(RoundToPixel(unit.x + (rect.x + rect.width * 0.5) * sx),
                         RoundToPixel(unit.y + (rect.y + rect.height * 0.5) * sy));
  const cv::Size size = SizeOnDesktop(rect.size(), sx, sy);
  const cv::Point relative = RelativeToTarget(centre, size, target);
  return {centre.x, centre.y, relative.x, relative.y, size.width, size.height};
}

// Notes the first veto; true when the evaluation ends with it.
bool Ends(bool veto, DecidingStep step, Thoroughness thoroughness, Verdict& v) {
  if (!veto) return false;
  if (v.Accepted()) v.decidedBy = step;
  return thoroughness == Thoroughness::UpToTheFirstVeto;
}

// Runs the steps on `v`; false when it could not or need not go to their end.
bool RunSteps(const ROIUnit& unit, const TemplateSpec& spec, Thoroughness thoroughness,
              const StepComputed& computed, Verdict& v) {
  const auto ends = [&](bool veto, DecidingStep step) { return Ends(veto, step, thoroughness, v); };
  v.tw = spec.tmplGray.cols;
  v.th = spec.tmplGray.rows;
  if (!HasInputs(unit, spec)) return false;  // a verdict begins as decided by this

  const std::optional<Placement> best = SearchRegion(unit, spec);
  Tell(computed, DecidingStep::Search);
  v.decidedBy = best ? DecidingStep::Accepted : DecidingStep::Search;
  if (!best) return false;
  v.found = true;
  v.loc = best->loc;
  v.dist = best->dist;

  v.tiny = v.tw * v.th <= kTinyPixels;
  v.difference = AtMost(v.dist, DifferenceLimit(unit, spec, v.tiny));
  if (ends(v.difference.Vetoes(), DecidingStep::Difference)) return false;
  if (spec.minScore > 0.0) v.minScore = AtLeast(1.0 - v.dist, spec.minScore);
  if (ends(v.minScore.Vetoes(), DecidingStep::MinScore)) return false;

  const cv::Rect rect(v.loc.x, v.loc.y, v.tw, v.th);
  if (!InsideCrop(rect, unit.gray)) {  // and nothing to compare, however thorough
    (void)ends(true, DecidingStep::Placement);
    return false;
  }
  const cv::Mat patch = unit.gray(rect);
  const MeanAndStdDev tmpl = Statistics(spec.tmplGray);
  v.flatWhite = CheckFlatWhite(patch, tmpl);
  Tell(computed, DecidingStep::FlatWhite);
  if (ends(v.flatWhite.Vetoes(), DecidingStep::FlatWhite)) return false;
  v.chroma = CheckChroma(unit, spec, rect);
  Tell(computed, DecidingStep::Chroma);
  if (ends(!CompareStructure(unit, spec, patch, tmpl.stdDev, computed, v), DecidingStep::NoEdges)) {
    return false;
  }

  v.colourActive = spec.redHint || spec.colorGate;
  const cv::Mat hsvPatch = unit.hsv.empty() ? cv::Mat() : unit.hsv(rect);
  if (!hsvPatch.empty()) v.hsvMean = cv::mean(hsvPatch);
  if (spec.vividFlat) v.darkness = AtMost(spec.hsvMean[2] - v.hsvMean[2], 30.0);
  Tell(computed, DecidingStep::Darkness);
  if (ends(v.darkness.Vetoes(), DecidingStep::Darkness)) return false;
  if (v.colourActive) {
    CompareHsvMeans(unit, spec, v);
    CompareRedness(hsvPatch, unit, spec, rect, v);
    Tell(computed, DecidingStep::Colour);
  }
  if (v.Accepted()) v.decidedBy = Decide(spec, v);
  return v.Accepted() || thoroughness == Thoroughness::EveryStep;
}

}  // namespace

Verdict EvaluateRegion(const ROIUnit& unit, const TemplateSpec& spec, Thoroughness thoroughness,
                       const StepComputed& computed) {
  Verdict v;
  if (!RunSteps(unit, spec, thoroughness, computed, v)) return v;
  v.hit = LocateHit(unit, spec.targetRect, cv::Rect(v.loc.x, v.loc.y, v.tw, v.th));
  v.sq = static_cast<float>(1.0 - v.dist);
  v.edgeScore = static_cast<float>(std::max(v.e1, v.e2));
  v.dedupWindowMs = DedupWindowMs(spec);
  Tell(computed, DecidingStep::Accepted);
  return v;
}

}  // namespace quillmark
