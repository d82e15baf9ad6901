// Decides whether a region of a frame shows a spec's template. The verdict says what decided it, with every
// gate's figure and limit.
//
// There are two orders. Gates are measured cheapest first: the search by the spec's mode, then structure,
// then colour; some vetoes end the evaluation at once. Of the measured vetoes, the first in the order of
// DecidingStep decides. The worker stops early; explanations measure every gate.
//
// Threading: a pure function of its arguments, callable from any thread at the same time.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <string_view>

#include "core/FrameJob.h"
#include "core/Gates.h"
#include "core/PlacementMap.h"

namespace quillmark {

// What decided a verdict, in the order of the vetoes.
enum class DecidingStep : std::int32_t {
  Inputs,      // region or template lacks an image that the mode needs
  Search,      // the region cannot hold the template
  Difference,  // the best placement differs too much
  MinScore,
  Placement,  // reaches beyond the grey crop
  FlatWhite,  // blank white template, but the placement is not blank
  NoEdges,    // edge detection gave no image
  Darkness,   // vivid flat template, but the placement is much darker
  GreyCorrelation,
  EdgeCorrelation,
  EdgeDensity,
  Chroma,
  Colour,  // neither the HSV means nor the red share nor Lab a* agree
  Accepted,
};

// Where an accepted match is reported, in desktop pixels.
struct HitGeometry {
  std::int32_t desktopX = 0, desktopY = 0;  // centre on the desktop
  std::int32_t cx = 0, cy = 0;              // centre relative to the target's client area, clamped into it
  std::int32_t w = 0, h = 0;                // at least 1
};

enum class Thoroughness : std::int32_t {
  UpToTheFirstVeto,
  EveryStep,  // measures what it can; the first veto still decides
};

// Called after each piece of work with its step; for timing.
using StepComputed = std::function<void(DecidingStep)>;

struct Verdict {
  DecidingStep decidedBy = DecidingStep::Inputs;

  // Best placement, in crop pixels; (0, 0) when nothing was found.
  bool found = false;
  cv::Point loc;
  std::int32_t tw = 0, th = 0;  // size of the template
  double dist = 1.0;            // 0 is a perfect match

  // Set when the structure is compared; `tiny` earlier.
  TemplateTraits traits;
  bool colourActive = false;  // the colour tests take part

  // The gates, see Gates.h. The colour tests are the last five; the HSV test needs its three.
  GateResult difference, minScore, flatWhite, darkness, greyCorrelation, edgeCorrelation, edgeDensity, chroma,
      hue, saturation, value, red, labA;

  // The placement's own values.
  double e1 = 0.0, e2 = 0.0;  // correlation of the plain and of the dilated edges
  double density = 0.0;       // share of edge pixels
  cv::Scalar hsvMean;         // zeros without an HSV crop
  double redRatio = 0.0;      // share of red pixels
  double labAMean = 0.0;      // mean of the 8-bit a* plane

  // What a hit reports. Set when accepted, or under EveryStep if the placement could be compared.
  HitGeometry hit;
  float sq = 0.0f;                  // similarity, 1 - dist
  float edgeScore = 0.0f;           // the larger edge correlation, 0 for templates of low detail
  std::uint64_t dedupWindowMs = 0;  // 0.6 of the spec's interval, 0 without one

  [[nodiscard]] bool Accepted() const { return decidedBy == DecidingStep::Accepted; }
};

// One gate of a verdict and the step that its veto decides. The colour tests share a step.
struct GateEntry {
  std::string_view name;  // lower case, words joined by '-'
  DecidingStep step;
  GateResult Verdict::*result;
};
// In the order of the vetoes.
inline constexpr GateEntry kAllGates[] = {
    {"difference", DecidingStep::Difference, &Verdict::difference},
    {"min-score", DecidingStep::MinScore, &Verdict::minScore},
    {"flat-white", DecidingStep::FlatWhite, &Verdict::flatWhite},
    {"darkness", DecidingStep::Darkness, &Verdict::darkness},
    {"grey-correlation", DecidingStep::GreyCorrelation, &Verdict::greyCorrelation},
    {"edge-correlation", DecidingStep::EdgeCorrelation, &Verdict::edgeCorrelation},
    {"edge-density", DecidingStep::EdgeDensity, &Verdict::edgeDensity},
    {"chroma", DecidingStep::Chroma, &Verdict::chroma},
    {"hue", DecidingStep::Colour, &Verdict::hue},
    {"saturation", DecidingStep::Colour, &Verdict::saturation},
    {"value", DecidingStep::Colour, &Verdict::value},
    {"red", DecidingStep::Colour, &Verdict::red},
    {"lab-a", DecidingStep::Colour, &Verdict::labA},
};

// Any of the three colour tests suffices. A waived one agrees, so without a red hint, or with a colourless
// template, colour never decides.
struct ColourAgreement {
  bool hsv = false, red = false, labA = false;
  [[nodiscard]] bool Any() const { return hsv || red || labA; }
};
[[nodiscard]] ColourAgreement ColourAgreementOf(const Verdict& verdict);

// Where a placement (crop pixels) of the unit is reported; cx and cy are relative to `target`.
[[nodiscard]] HitGeometry LocateHit(const ROIUnit& unit, const Rect& target, const cv::Rect& placement);

// Compares the region with the spec's prepared template. A mode outside the enumeration counts as Gray. The
// hit's cx and cy are relative to `spec.targetRect`. Raises cv::Exception for images of unexpected type or
// size and for colour tests without an HSV crop; a thorough evaluation may do so after the first veto.
// `known` is the search's: see SearchRegion.
[[nodiscard]] Verdict EvaluateRegion(const ROIUnit& unit, const TemplateSpec& spec,
                                     Thoroughness thoroughness = Thoroughness::UpToTheFirstVeto,
                                     const StepComputed& computed = {}, const KnownPlacements& known = {});

}  // namespace quillmark
