// The decision whether one region of a frame shows the template of one spec, as a value: what decided it, and
// every gate's figure beside the limit it was held against.
//
// Two orders are kept apart. Gates are measured cheapest first: the search by the spec's mode, then
// structure, then colour; some vetoes end the evaluation at once. Of the vetoes that were measured, the first
// in the order of DecidingStep decides. Whoever explains a verdict has every gate measured; the worker stops
// early.
//
// Threading: a pure function of its arguments, callable from any thread at the same time.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <span>
#include <string_view>

#include "core/FrameJob.h"
#include "core/Gates.h"

namespace quillmark {

// What settled a verdict, in the order of the vetoes.
enum class DecidingStep : std::int32_t {
  Inputs,      // region or template lacks an image that the mode needs
  Search,      // the region cannot hold the template
  Difference,  // the best placement differs too much
  MinScore,
  Placement,  // it reaches beyond the grey crop
  FlatWhite,  // blank white template, but the placement is not blank
  NoEdges,    // edge detection gave no image
  Darkness,   // vivid flat template, but the placement is much darker
  GreyCorrelation,
  EdgeCorrelation,
  EdgeDensity,
  Chroma,
  Colour,  // neither HSV means nor red share nor Lab a* agree
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
  EveryStep,  // whatever can be measured; the first veto still decides
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

  // All but `tiny` are unknown until the structure is compared.
  TemplateTraits traits;
  bool colourActive = false;  // the colour tests take part

  // The gates, see Gates.h. The colour tests are the last five; the HSV test needs its three.
  GateResult difference, minScore, flatWhite, darkness, greyCorrelation, edgeCorrelation, edgeDensity, chroma,
      hue, saturation, value, red, labA;

  // What the figures were made of, of the placement.
  double e1 = 0.0, e2 = 0.0;  // correlation of the plain and of the dilated edges
  double density = 0.0;       // share of edge pixels
  cv::Scalar hsvMean;         // zeros without an HSV crop
  double redRatio = 0.0;      // share of red pixels
  double labAMean = 0.0;      // mean of the 8-bit a* plane

  // As a hit would report it. Set once the placement has been compared: when accepted, or under EveryStep.
  HitGeometry hit;
  float sq = 0.0f;                  // similarity, 1 - dist
  float edgeScore = 0.0f;           // the larger edge correlation, 0 for templates of low detail
  std::uint64_t dedupWindowMs = 0;  // 0.6 of the spec's interval, 0 without one

  [[nodiscard]] bool Accepted() const { return decidedBy == DecidingStep::Accepted; }
};

// One gate of a verdict; `step` is what its veto decides. Several colour tests share a step.
struct GateEntry {
  std::string_view name;  // lower case, words joined by '-'
  DecidingStep step;
  GateResult Verdict::*result;
};
// Every gate, in the order of the vetoes.
[[nodiscard]] std::span<const GateEntry> AllGates();

// Any one of the three colour tests suffices, and a waived one counts as agreed: without a red hint, or with
// a colourless template, the colour tests therefore never refuse.
struct ColourAgreement {
  bool hsv = false, red = false, labA = false;
  [[nodiscard]] bool Any() const { return hsv || red || labA; }
};
[[nodiscard]] ColourAgreement ColourAgreementOf(const Verdict& verdict);

// Compares the region with the spec's prepared template; both are only read. A mode outside the enumeration
// counts as Gray. The target's rectangle of `spec` is the frame of the hit's cx and cy. Errors of the image
// library (crops or template of unexpected type or size, colour tests without an HSV crop) leave it as
// cv::Exception; a thorough evaluation may meet some behind the first veto.
[[nodiscard]] Verdict EvaluateRegion(const ROIUnit& unit, const TemplateSpec& spec,
                                     Thoroughness thoroughness = Thoroughness::UpToTheFirstVeto,
                                     const StepComputed& computed = {});

}  // namespace quillmark
