// The decision whether one region of a frame shows the template of one spec, as a value: what was decided, by
// which step, and every quantity that was measured on the way beside the limit it was held against.
//
// The steps run cheapest first (placement by the spec's mode, then structure, then colour). The worker ends
// at the first veto, and quantities of later steps stay unmeasured; who wants to explain a verdict goes on to
// the end.
//
// Threading: a pure function of its arguments, callable from any thread at the same time.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>

#include "core/FrameJob.h"

namespace quillmark {

// What settled a verdict, in the order in which the evaluation comes to it.
enum class DecidingStep : std::int32_t {
  Inputs,           // region or template lacks an image that the mode needs
  Search,           // the region cannot hold the template
  Difference,       // the best placement differs too much
  MinScore,         // its similarity is below the spec's minimum
  Placement,        // it reaches beyond the grey crop
  FlatWhite,        // blank white template, but the placement is not blank
  NoEdges,          // edge detection gave no image
  Darkness,         // vivid flat template, but the placement is much darker
  Ncc,              // grey correlation
  EdgeCorrelation,  // of the plain and of the dilated edges
  EdgeDensity,      // share of edge pixels
  Chroma,           // correlation of the Cr or Cb plane
  Colour,           // neither HSV means nor red share nor Lab a* agree
  Accepted,
};

enum class Outcome : std::int32_t {
  NotMeasured,  // not come to, or not asked for by this spec and region: no veto
  Passed,
  Failed,
  Waived,  // measured, but without a say here: no veto
};

// One measured quantity beside its limit.
struct Check {
  double value = 0.0;
  double limit = 0.0;
  Outcome outcome = Outcome::NotMeasured;

  [[nodiscard]] bool Vetoes() const { return outcome == Outcome::Failed; }
};

// Where an accepted match is reported, in desktop pixels.
struct HitGeometry {
  std::int32_t desktopX = 0, desktopY = 0;  // centre on the desktop
  std::int32_t cx = 0, cy = 0;              // centre relative to the target's client area, clamped into it
  std::int32_t w = 0, h = 0;                // at least 1
};

enum class Thoroughness : std::int32_t {
  UpToTheFirstVeto,
  EveryStep,  // what can be measured is; the first veto still decides
};

// Hears of the evaluation's work, piece by piece, which step of the decision it was for. For measuring times.
using StepComputed = std::function<void(DecidingStep)>;

struct Verdict {
  DecidingStep decidedBy = DecidingStep::Inputs;

  // Best placement, in crop pixels. `found` tells whether there is one; it stays (0, 0) without.
  bool found = false;
  cv::Point loc;
  std::int32_t tw = 0, th = 0;  // size of the template
  double dist = 1.0;            // 0 is a perfect match

  bool tiny = false;          // template of at most 256 pixels
  bool lowDetail = false;     // tiny or almost without edges: edges are not compared
  bool flatTemplate = false;  // almost uniform: neither edges nor grey values are compared
  bool colourActive = false;  // the colour tests take part

  Check difference;  // dist, at most
  Check minScore;    // 1 - dist, at least
  Check flatWhite;   // standard deviation of the placement's grey levels, at most
  Check chroma;      // correlation of the chroma plane, at least
  Check ncc;         // grey correlation, at least

  double e1 = 0.0, e2 = 0.0;  // correlation of the plain and of the dilated edges
  Check edge;                 // the larger of the two, at least
  double density = 0.0;       // share of edge pixels in the placement
  Check edgeDensity;          // its distance from the template's, at most

  cv::Scalar hsvMean;  // of the placement, zeros without an HSV crop
  Check darkness;      // levels by which the placement is darker than the template, at most
  // Distances of those means from the template's, at most; the HSV test needs all three.
  Check hue, saturation, value;
  double redRatio = 0.0;  // share of red pixels in the placement
  Check red;              // its distance from the template's, at most
  double labAMean = 0.0;  // mean of the placement's 8-bit a* plane
  Check labA;             // its distance from the template's, at most

  // Of an accepted verdict; after EveryStep of every one whose placement could be compared, as a hit would
  // report it.
  HitGeometry hit;
  float sq = 0.0f;                  // similarity, 1 - dist
  float edgeScore = 0.0f;           // the larger edge correlation, 0 for templates of low detail
  std::uint64_t dedupWindowMs = 0;  // 0.6 of the spec's interval, 0 without one

  [[nodiscard]] bool Accepted() const { return decidedBy == DecidingStep::Accepted; }
};

// Compares the region with the spec's prepared template; both are only read. A mode outside the enumeration
// counts as Gray. The target's rectangle of `spec` is the frame of the hit's cx and cy. Errors of the image
// library (crops or template of unexpected type or size, colour tests without an HSV crop) leave it as
// cv::Exception; a thorough evaluation may come to some behind the first veto.
[[nodiscard]] Verdict EvaluateRegion(const ROIUnit& unit, const TemplateSpec& spec,
                                     Thoroughness thoroughness = Thoroughness::UpToTheFirstVeto,
                                     const StepComputed& computed = {});

}  // namespace quillmark
