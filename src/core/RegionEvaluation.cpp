#include "core/RegionEvaluation.h"

#include <algorithm>
#include <optional>

#include "core/ImageFigures.h"
#include "core/Matcher.h"
#include "core/PrimarySearch.h"
#include "core/RegionGeometry.h"

namespace quillmark {
namespace {

bool InsideCrop(const cv::Rect& rect, const cv::Mat& crop) {
  return rect.x >= 0 && rect.y >= 0 && rect.x + rect.width <= crop.cols && rect.y + rect.height <= crop.rows;
}

double CorrelationOfEdges(const cv::Mat& edges, const cv::Mat& tmplZeroMean) {
  cv::Mat zeroMean;
  ToZeroMeanFloat(edges, zeroMean);
  return Corr1x1_ZeroMean(zeroMean, tmplZeroMean);
}

// Why grey levels and edges are ignored.
Because StructureWaiver(const TemplateSpec& spec) {
  if (IsHueMode(spec.mode)) return Because::HueMode;
  if (spec.redHint) return Because::RedSpec;
  return spec.colorGate ? Because::StrictSpec : Because::None;
}

DecidingStep FirstVeto(const Verdict& v) {
  for (const GateEntry& gate : kAllGates) {
    if (gate.step != DecidingStep::Colour && (v.*gate.result).Vetoes()) return gate.step;
  }
  return v.colourActive && !ColourAgreementOf(v).Any() ? DecidingStep::Colour : DecidingStep::Accepted;
}

class Evaluation {
 public:
  Evaluation(const ROIUnit& region, const TemplateSpec& wanted, Thoroughness thorough,
             const StepComputed& listener, const KnownPlacements& placements)
      : unit(region), spec(wanted), thoroughness(thorough), computed(listener), known(placements) {}

  // In the order of measuring; each stage returns whether to go on.
  Verdict Run() {
    if (Search() && CompareDifference() && CompareFlatWhite() && CompareStructure() && CompareDarkness()) {
      CompareColour();
      if (v.Accepted()) v.decidedBy = FirstVeto(v);
      if (v.Accepted() || thoroughness == Thoroughness::EveryStep) Locate();
    }
    return v;
  }

 private:
  void Report(DecidingStep step) const {
    if (computed) computed(step);
  }

  // Records the first veto; false when it ends the evaluation.
  bool GoesOn(bool veto, DecidingStep step) {
    if (!veto) return true;
    if (v.Accepted()) v.decidedBy = step;
    return thoroughness == Thoroughness::EveryStep;
  }

  bool Search() {
    v.tw = spec.tmplGray.cols;
    v.th = spec.tmplGray.rows;
    if (!HasInputs(unit, spec)) return false;  // a verdict starts as decided by Inputs
    const std::optional<Placement> best = SearchRegion(unit, spec, known);
    Report(DecidingStep::Search);
    v.decidedBy = best ? DecidingStep::Accepted : DecidingStep::Search;
    if (!best) return false;
    v.found = true;
    v.loc = best->loc;
    v.dist = best->dist;
    return true;
  }

  bool CompareDifference() {
    context.traits.tiny = v.traits.tiny = IsTiny(spec);
    v.difference = DifferenceGate(v.dist, context);
    if (!GoesOn(v.difference.Vetoes(), DecidingStep::Difference)) return false;
    v.minScore = MinScoreGate(v.dist, spec);
    if (!GoesOn(v.minScore.Vetoes(), DecidingStep::MinScore)) return false;
    rect = {v.loc.x, v.loc.y, v.tw, v.th};
    if (InsideCrop(rect, unit.gray)) return true;
    if (v.Accepted()) v.decidedBy = DecidingStep::Placement;
    return false;  // nothing to compare
  }

  bool CompareFlatWhite() {
    patch = unit.gray(rect);
    context.traits = TraitsOf(spec);
    v.flatWhite = FlatWhiteGate(patch, context.traits);
    Report(DecidingStep::FlatWhite);
    return GoesOn(v.flatWhite.Vetoes(), DecidingStep::FlatWhite);
  }

  bool CompareStructure() {
    v.chroma = ChromaGate(unit.bgr, rect, spec);
    Report(DecidingStep::Chroma);
    v.traits = context.traits;
    v.greyCorrelation = GreyCorrelationGate(patch, context);
    Report(DecidingStep::GreyCorrelation);
    if (!GoesOn(!CompareEdges(), DecidingStep::NoEdges)) return false;
    Report(DecidingStep::EdgeCorrelation);
    if (const Because waiver = StructureWaiver(spec); waiver != Because::None) {
      for (GateResult* gate : {&v.greyCorrelation, &v.edgeCorrelation, &v.edgeDensity}) Waive(*gate, waiver);
      if (waiver == Because::HueMode) Waive(v.chroma, waiver);
    }
    return true;
  }

  // False when edge detection gave no image.
  bool CompareEdges() {
    const TemplateTraits& traits = v.traits;
    if (traits.lowDetail || traits.flat) {
      const Because because = traits.tiny   ? Because::TinyTemplate
                              : traits.flat ? Because::FlatTemplate
                                            : Because::LowDetail;
      v.edgeCorrelation = v.edgeDensity = NotMeasured(because);
      return true;
    }
    const cv::Mat edges = EdgesOf(patch);
    if (edges.empty()) return false;
    v.e1 = CorrelationOfEdges(edges, spec.tmplEdgeZm);
    v.e2 = CorrelationOfEdges(DilatedEdges(edges), spec.tmplEdgeDilZm);
    v.edgeCorrelation = EdgeCorrelationGate(v.e1, v.e2, v.dist, context);
    v.density = ShareOfNonZero(edges);
    v.edgeDensity = EdgeDensityGate(v.density, spec);
    if (unit.clipped) Waive(v.edgeDensity, Because::Clipped);
    return true;
  }

  bool CompareDarkness() {
    v.colourActive = spec.redHint || spec.colorGate;
    if (!unit.hsv.empty()) v.hsvMean = cv::mean(unit.hsv(rect));
    v.darkness = DarknessGate(v.hsvMean, spec);
    Report(DecidingStep::Darkness);
    return GoesOn(v.darkness.Vetoes(), DecidingStep::Darkness);
  }

  void CompareColour() {
    if (v.colourActive) {
      v.hue = HueGate(v.hsvMean, context);
      v.saturation = SaturationGate(v.hsvMean, context);
      v.value = ValueGate(v.hsvMean, context);
      cv::Mat red;
      MarkRed(unit.hsv.empty() ? unit.hsv : unit.hsv(rect), red);
      v.redRatio = ShareOfNonZero(red);
      v.red = RedGate(v.redRatio, context);
      if (!spec.redHint) Waive(v.red, Because::NoRedHint);
      v.labAMean = MeanLabA(unit.bgr, rect);
      v.labA = LabAGate(v.labAMean, context);
      if (IsColourless(spec)) Waive(v.labA, Because::Colourless);
      Report(DecidingStep::Colour);
    } else {
      v.hue = v.saturation = v.value = v.red = v.labA = NotMeasured(Because::NoColourTest);
    }
    if (!IsHueMode(spec.mode)) return;
    for (GateResult* gate : {&v.hue, &v.saturation, &v.value, &v.red, &v.labA})
      Waive(*gate, Because::HueMode);
  }

  void Locate() {
    v.hit = LocateHit(unit, spec.targetRect, rect);
    v.sq = static_cast<float>(1.0 - v.dist);
    v.edgeScore = static_cast<float>(std::max(v.e1, v.e2));
    v.dedupWindowMs = DedupWindowMs(spec);
    Report(DecidingStep::Accepted);
  }

  const ROIUnit& unit;
  const TemplateSpec& spec;
  const Thoroughness thoroughness;
  const StepComputed& computed;
  const KnownPlacements& known;

  Verdict v;
  GateContext context{spec, unit.clipped, {}};
  cv::Rect rect;  // the placement
  cv::Mat patch;  // its grey levels
};

}  // namespace

HitGeometry LocateHit(const ROIUnit& unit, const Rect& target, const cv::Rect& placement) {
  const double sx = EffectiveScale(unit.scaleX), sy = EffectiveScale(unit.scaleY);
  const cv::Point centre(RoundToPixel(unit.x + (placement.x + placement.width * 0.5) * sx),
                         RoundToPixel(unit.y + (placement.y + placement.height * 0.5) * sy));
  const cv::Size size = SizeOnDesktop(placement.size(), sx, sy);
  const cv::Point relative = RelativeToTarget(centre, size, target);
  return {centre.x, centre.y, relative.x, relative.y, size.width, size.height};
}

ColourAgreement ColourAgreementOf(const Verdict& v) {
  return {!v.hue.Vetoes() && !v.saturation.Vetoes() && !v.value.Vetoes(), !v.red.Vetoes(), !v.labA.Vetoes()};
}

Verdict EvaluateRegion(const ROIUnit& unit, const TemplateSpec& spec, Thoroughness thoroughness,
                       const StepComputed& computed, const KnownPlacements& known) {
  return Evaluation(unit, spec, thoroughness, computed, known).Run();
}

}  // namespace quillmark
