// The gates of the decision, each in its own file under src/core/gates: how the figure is measured, and the
// limit with the rules that move it. RegionEvaluation.h decides which gates are measured, in which order, and
// which are ignored.
//
// `patch` is the placement: the part of a crop that the template covers, at template scale. Limits have the
// units of their figure. Images of unexpected type or size raise cv::Exception.
//
// Threading: pure functions, callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>

#include "core/Gate.h"
#include "specs/TemplateSpec.h"

namespace quillmark {

// Templates with at most this many pixels are tiny: they match by chance and have too few edges.
inline constexpr int kTinyPixels = 256;
// Below this share of edge pixels, edges are not compared.
inline constexpr double kLowDetailDensity = 0.01;

// Properties of a template that limits depend on.
struct TemplateTraits {
  bool tiny = false;        // at most kTinyPixels
  bool lowDetail = false;   // tiny, or almost without edges: edges are not compared
  bool flat = false;        // almost uniform: neither edges nor grey levels are compared
  bool blankWhite = false;  // uniform and white
};
[[nodiscard]] bool IsTiny(const TemplateSpec& spec);
[[nodiscard]] TemplateTraits TraitsOf(const TemplateSpec& spec);

// The mean saturation is too low for hue and a* to mean anything.
[[nodiscard]] bool IsColourless(const TemplateSpec& spec);

struct GateContext {
  const TemplateSpec& spec;
  bool clipped = false;  // the monitor's edge clips the region
  TemplateTraits traits{};
};

// Maximum difference of the best placement, 0 to 1.
[[nodiscard]] Limit DifferenceLimit(const GateContext& context);
[[nodiscard]] GateResult DifferenceGate(double dist, const GateContext& context);

// The spec's minimum similarity, 1 - dist, if it sets one.
[[nodiscard]] GateResult MinScoreGate(double dist, const TemplateSpec& spec);

// Blank white templates: maximum standard deviation of the placement's grey levels (`patch` 8UC1).
[[nodiscard]] GateResult FlatWhiteGate(const cv::Mat& patch, const TemplateTraits& traits);

// Minimum zero-mean correlation of the Cr or Cb plane with the template's, -1 to 1, over the placement `rect`
// of `bgr` (8UC3).
[[nodiscard]] GateResult ChromaGate(const cv::Mat& bgr, const cv::Rect& rect, const TemplateSpec& spec);

// Minimum zero-mean correlation of the grey levels (`patch` 8UC1) with the template's, -1 to 1.
[[nodiscard]] Limit GreyCorrelationLimit(const GateContext& context);
[[nodiscard]] GateResult GreyCorrelationGate(const cv::Mat& patch, const GateContext& context);

// Minimum for the larger of `plain` and `dilated`: the correlations of the edges and of the dilated edges
// with the template's, -1 to 1.
[[nodiscard]] Limit EdgeCorrelationLimit(double dist, const GateContext& context);
[[nodiscard]] GateResult EdgeCorrelationGate(double plain, double dilated, double dist,
                                             const GateContext& context);

// Maximum distance of `density`, the placement's share of edge pixels, from the template's.
[[nodiscard]] GateResult EdgeDensityGate(double density, const TemplateSpec& spec);

// Vivid flat templates: maximum by which the placement's mean V is below the template's.
[[nodiscard]] GateResult DarknessGate(const cv::Scalar& hsvMean, const TemplateSpec& spec);

// Maximum distances of the placement's mean H, S and V from the template's, in 8-bit units; H wraps at 180.
[[nodiscard]] Limit HueLimit(const GateContext& context);
[[nodiscard]] GateResult HueGate(const cv::Scalar& hsvMean, const GateContext& context);
[[nodiscard]] Limit SaturationLimit(const GateContext& context);
[[nodiscard]] GateResult SaturationGate(const cv::Scalar& hsvMean, const GateContext& context);
[[nodiscard]] Limit ValueLimit(const GateContext& context);
[[nodiscard]] GateResult ValueGate(const cv::Scalar& hsvMean, const GateContext& context);

// Maximum distance of `ratio`, the placement's share of red pixels, from the template's.
[[nodiscard]] Limit RedLimit(bool clipped);
[[nodiscard]] GateResult RedGate(double ratio, const GateContext& context);

// Maximum distance of `mean`, the mean of the placement's 8-bit a* plane, from the template's.
[[nodiscard]] Limit LabALimit(bool clipped);
[[nodiscard]] GateResult LabAGate(double mean, const GateContext& context);

}  // namespace quillmark
