// The gates of the decision, each in its own file under src/core/gates: how its figure is measured, and its
// limit with the rules that shape it. Which gates are measured when, which of them decides and which has no
// say is the evaluation's business (RegionEvaluation.h).
//
// `patch` is the placement: the part of a crop that the template covers, at template scale. Limits are in the
// units of their figure. Images of unexpected type or size raise cv::Exception.
//
// Threading: pure functions, callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>

#include "core/Gate.h"
#include "specs/TemplateSpec.h"

namespace quillmark {

// Templates of at most this many pixels are tiny: they match by chance, and show too little for edges.
inline constexpr int kTinyPixels = 256;
// A share of edge pixels below this is too little for edges to be compared.
inline constexpr double kLowDetailDensity = 0.01;

// What the limits depend on beside the spec's own.
struct TemplateTraits {
  bool tiny = false;        // at most kTinyPixels
  bool lowDetail = false;   // tiny, or almost without edges: edges are not compared
  bool flat = false;        // almost uniform: neither edges nor grey levels are compared
  bool blankWhite = false;  // uniform and white
};
[[nodiscard]] bool IsTiny(const TemplateSpec& spec);
[[nodiscard]] TemplateTraits TraitsOf(const TemplateSpec& spec);

// The template's mean saturation is so low that its hue and its a* mean nothing.
[[nodiscard]] bool IsColourless(const TemplateSpec& spec);

struct GateContext {
  const TemplateSpec& spec;
  bool clipped = false;  // the monitor cut something off the region
  TemplateTraits traits{};
};

// Difference of the best placement, 0 to 1: at most.
[[nodiscard]] Limit DifferenceLimit(const GateContext& context);
[[nodiscard]] GateResult DifferenceGate(double dist, const GateContext& context);

// Similarity, 1 - dist: at least what the spec asks for, if it does.
[[nodiscard]] GateResult MinScoreGate(double dist, const TemplateSpec& spec);

// Blank white templates: standard deviation of the placement's grey levels (`patch` 8UC1), at most.
[[nodiscard]] GateResult FlatWhiteGate(const cv::Mat& patch, const TemplateTraits& traits);

// Zero-mean correlation of the Cr or Cb plane with the template's over the placement `rect` of `bgr` (8UC3),
// -1 to 1: at least.
[[nodiscard]] GateResult ChromaGate(const cv::Mat& bgr, const cv::Rect& rect, const TemplateSpec& spec);

// Zero-mean correlation of the grey levels (`patch` 8UC1) with the template's, -1 to 1: at least.
[[nodiscard]] Limit GreyCorrelationLimit(const GateContext& context);
[[nodiscard]] GateResult GreyCorrelationGate(const cv::Mat& patch, const GateContext& context);

// The larger of `plain` and `dilated`, the correlations of the edges and of the dilated edges with the
// template's, -1 to 1: at least.
[[nodiscard]] Limit EdgeCorrelationLimit(double dist, const GateContext& context);
[[nodiscard]] GateResult EdgeCorrelationGate(double plain, double dilated, double dist,
                                             const GateContext& context);

// Distance of `density`, the placement's share of edge pixels, from the template's: at most.
[[nodiscard]] GateResult EdgeDensityGate(double density, const TemplateSpec& spec);

// Vivid flat templates: levels by which the placement's mean V lies below the template's, at most.
[[nodiscard]] GateResult DarknessGate(const cv::Scalar& hsvMean, const TemplateSpec& spec);

// Distances of the placement's mean H, S and V from the template's, in 8-bit units, H around 180: at most.
[[nodiscard]] Limit HueLimit(const GateContext& context);
[[nodiscard]] GateResult HueGate(const cv::Scalar& hsvMean, const GateContext& context);
[[nodiscard]] Limit SaturationLimit(const GateContext& context);
[[nodiscard]] GateResult SaturationGate(const cv::Scalar& hsvMean, const GateContext& context);
[[nodiscard]] Limit ValueLimit(const GateContext& context);
[[nodiscard]] GateResult ValueGate(const cv::Scalar& hsvMean, const GateContext& context);

// Distance of `ratio`, the placement's share of red pixels, from the template's: at most.
[[nodiscard]] Limit RedLimit(bool clipped);
[[nodiscard]] GateResult RedGate(double ratio, const GateContext& context);

// Distance of `mean`, the mean of the placement's 8-bit a* plane, from the template's: at most.
[[nodiscard]] Limit LabALimit(bool clipped);
[[nodiscard]] GateResult LabAGate(double mean, const GateContext& context);

}  // namespace quillmark
