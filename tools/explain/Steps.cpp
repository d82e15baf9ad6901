#include "explain/Steps.h"

#include <algorithm>
#include <string>
#include <utility>

#include "explain/Limits.h"
#include "explain/Numbers.h"

namespace quillmark::explain {
namespace {

using Bound = Figure::Bound;

constexpr char kDifferenceDecides[] = "modes h and hs decide by the difference alone";

// A step that can veto, named by its reason.
Step StepOf(Reason reason, std::string title, std::string measures) {
  Step step;
  step.id = CodeOf(reason);
  step.title = std::move(title);
  step.measures = std::move(measures);
  step.reason = reason;
  return step;
}

// Takes the check's figure and outcome; the rules belong to its limit.
void Fill(Step& step, const Check& check, Bound bound, std::vector<LimitRule> rules) {
  if (check.outcome == Outcome::NotMeasured) return;
  step.figure = Figure{check.value, check.limit, bound, std::move(rules)};
  switch (check.outcome) {
    case Outcome::Passed:
      step.outcome = StepOutcome::Passed;
      break;
    case Outcome::Failed:
      step.outcome = StepOutcome::Vetoed;
      break;
    default:
      step.outcome = StepOutcome::Waived;
  }
}

// A figure without a say.
void Waive(Step& step, std::string why) {
  if (step.outcome == StepOutcome::NotMeasured) return;
  step.outcome = StepOutcome::Waived;
  step.remark = std::move(why);
}

std::vector<LimitRule> Always(double limit) {
  return {{"always", limit}};
}

// Makes the steps of one verdict.
class Comparison {
 public:
  Comparison(const TemplateSpec& spec_, const ROIUnit& unit_, const Verdict& verdict_)
      : spec(spec_), unit(unit_), v(verdict_), byHue(IsHueMode(spec_.mode)) {}

  std::vector<Step> Steps() {
    AddSearch();
    if (!v.found) return std::move(steps);
    AddScore();
    if (v.decidedBy == DecidingStep::Placement) {
      Add(StepOf(Reason::PlacementOutside, "Placement", "place of the match in the grey image"),
          StepOutcome::Vetoed);
      return std::move(steps);
    }
    AddFlatWhite();
    AddDarkness();
    AddStructure();
    AddChroma();
    AddColour();
    return std::move(steps);
  }

 private:
  void Add(Step step) {
    if (step.outcome != StepOutcome::Vetoed) step.reason.reset();
    steps.push_back(std::move(step));
  }
  void Add(Step step, StepOutcome outcome) {
    step.outcome = outcome;
    Add(std::move(step));
  }

  void AddSearch() {
    if (v.decidedBy == DecidingStep::Inputs) {
      Add(StepOf(Reason::InputsMissing, "Planes", "planes that the mode compares"), StepOutcome::Vetoed);
      return;
    }
    Step search = StepOf(Reason::NoPlacement, "Search", "room for the template in the region");
    if (v.found) {
      const int across = unit.gray.cols - v.tw + 1, down = unit.gray.rows - v.th + 1;
      search.remark = "the best of " + std::to_string(std::int64_t{across} * down) + " places";
    }
    if (!v.found) {
      search.remark = std::to_string(v.tw) + " x " + std::to_string(v.th) + " pixels, in a region of " +
                      std::to_string(unit.gray.cols) + " x " + std::to_string(unit.gray.rows) +
                      " at the template's scale";
    }
    Add(std::move(search), v.found ? StepOutcome::Passed : StepOutcome::Vetoed);
  }

  void AddScore() {
    Step difference =
        StepOf(Reason::Difference, "Difference", "difference from the template at the best place");
    Fill(difference, v.difference, Bound::AtMost, DifferenceRules(spec, unit, v));
    Add(std::move(difference));

    Step score = StepOf(Reason::MinScore, "Least score", "similarity, 1 less the difference");
    Fill(score, v.minScore, Bound::AtLeast, {{"the spec's least score", spec.minScore}});
    if (!score.figure) score.remark = "the spec sets no least score";
    Add(std::move(score));
  }

  void AddFlatWhite() {
    Step step = StepOf(Reason::FlatWhite, "Blank white", "spread of the place's grey levels");
    Fill(step, v.flatWhite, Bound::AtMost, Always(v.flatWhite.limit));
    if (!step.figure) step.remark = "the template is not blank white";
    Add(std::move(step));
  }

  void AddDarkness() {
    if (v.decidedBy == DecidingStep::NoEdges) {
      Add(StepOf(Reason::NoEdges, "Edges", "edges at the place"), StepOutcome::Vetoed);
    }
    Step step = StepOf(Reason::Darkness, "Darkness", "levels by which the place is darker than the template");
    Fill(step, v.darkness, Bound::AtMost, Always(v.darkness.limit));
    if (!step.figure) step.remark = "the template is not vivid and flat";
    Add(std::move(step));
  }

  // Why grey levels and edges have no say; empty when they have.
  [[nodiscard]] std::string StructureWaiver() const {
    if (byHue) return kDifferenceDecides;
    if (spec.redHint) return "a red spec: colour decides in place of structure";
    if (spec.colorGate) return "strict: colour decides in place of structure";
    return {};
  }

  [[nodiscard]] std::string NoDetail() const {
    if (v.tiny) return "a template of at most 256 pixels";
    const std::string density = "its edge density is " + Digits(spec.edgeDensity);
    return v.flatTemplate ? "the template is almost uniform; " + density
                          : "the template has too little detail; " + density + ", below 0.01";
  }

  void AddStructure() {
    const std::string waiver = StructureWaiver();
    Step grey = StepOf(Reason::GreyCorrelation, "Grey correlation",
                       "correlation of the grey levels with the template's");
    Fill(grey, v.ncc, Bound::AtLeast, GreyCorrelationRules(spec, unit, v));
    if (!grey.figure) grey.remark = "the template is almost uniform";
    if (!waiver.empty()) Waive(grey, waiver);
    Add(std::move(grey));

    Step edge = StepOf(Reason::EdgeCorrelation, "Edge correlation",
                       "the larger correlation of the plain and of the dilated edges");
    Fill(edge, v.edge, Bound::AtLeast, EdgeCorrelationRules(spec, unit, v));
    edge.remark = edge.figure ? "plain " + Digits(v.e1) + ", dilated " + Digits(v.e2) : NoDetail();
    if (!waiver.empty()) Waive(edge, waiver);
    Add(std::move(edge));

    Step density = StepOf(Reason::EdgeDensity, "Edge density",
                          "distance of the place's share of edge pixels from the template's");
    Fill(density, v.edgeDensity, Bound::AtMost, Always(v.edgeDensity.limit));
    density.remark =
        density.figure ? "place " + Digits(v.density) + ", template " + Digits(spec.edgeDensity) : NoDetail();
    if (unit.clipped) Waive(density, "the monitor's edge cuts the region");
    if (!waiver.empty()) Waive(density, waiver);
    Add(std::move(density));
  }

  void AddChroma() {
    Step chroma = StepOf(Reason::Chroma, "Chroma", "correlation of the red-difference plane (Cr)");
    Fill(chroma, v.chroma, Bound::AtLeast, {{"red handling", spec.chromaMin}});
    if (!chroma.figure) chroma.remark = "the spec does not look for red";
    if (byHue) Waive(chroma, kDifferenceDecides);
    Add(std::move(chroma));
  }

  // One of the colour tests; beyond its limit it is no veto by itself.
  void AddColourTest(std::string id, std::string title, std::string measures, const Check& check,
                     ColourTest test, std::string remark) {
    Step step;
    step.id = std::move(id);
    step.title = std::move(title);
    step.measures = std::move(measures);
    Fill(step, check, Bound::AtMost, ColourRules(test, spec, unit, v));
    step.remark = std::move(remark);
    if (step.outcome == StepOutcome::Vetoed) step.outcome = StepOutcome::Missed;
    if (byHue) Waive(step, kDifferenceDecides);
    Add(std::move(step));
  }

  void AddColourTests() {
    const bool colourless = IsColourless(spec);
    const auto means = [&](int channel) {
      return "place " + Digits(v.hsvMean[channel]) + ", template " + Digits(spec.hsvMean[channel]);
    };
    const std::string noColour = "the template has no colour: brightness alone counts";
    AddColourTest("hue", "Mean hue", "distance of the mean hues, 180 around", v.hue, ColourTest::Hue,
                  colourless ? noColour : means(0));
    AddColourTest("saturation", "Mean saturation", "distance of the mean saturations", v.saturation,
                  ColourTest::Saturation, colourless ? noColour : means(1));
    AddColourTest("value", "Mean brightness", "distance of the mean brightnesses", v.value, ColourTest::Value,
                  means(2));
    AddColourTest("red", "Share of red", "distance of the shares of red pixels", v.red, ColourTest::Red,
                  spec.redHint ? "place " + Digits(v.redRatio) + ", template " + Digits(spec.redRatio)
                               : "without a red hint it counts as agreed");
    AddColourTest("lab-a", "Mean a*", "distance of the means of a*, green to red", v.labA, ColourTest::LabA,
                  colourless ? "the template has no colour: counts as agreed"
                             : "place " + Digits(v.labAMean, 4) + ", template " + Digits(spec.labAMean, 4));
  }

  void AddColour() {
    if (v.colourActive) AddColourTests();
    Step colour = StepOf(Reason::Colour, "Colour", "one of three must agree: the HSV means, red, a*");
    if (!v.colourActive) {
      colour.remark = "the spec asks for no colour tests";
    } else if (byHue) {
      colour.outcome = StepOutcome::Waived;
      colour.remark = kDifferenceDecides;
    } else {
      std::vector<std::string> agree;
      if (!v.hue.Vetoes() && !v.saturation.Vetoes() && !v.value.Vetoes()) agree.emplace_back("the HSV means");
      if (!v.red.Vetoes()) agree.emplace_back(spec.redHint ? "red" : "red (counts as agreed)");
      if (!v.labA.Vetoes()) agree.emplace_back(IsColourless(spec) ? "a* (counts as agreed)" : "a*");
      colour.outcome = agree.empty() ? StepOutcome::Vetoed : StepOutcome::Passed;
      colour.remark = agree.empty() ? "none of the three agrees" : "agree: " + Joined(agree);
    }
    Add(std::move(colour));
  }

  static std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
  }

  const TemplateSpec& spec;
  const ROIUnit& unit;
  const Verdict& v;
  const bool byHue;
  std::vector<Step> steps;
};

}  // namespace

std::vector<Step> ComparisonSteps(const TemplateSpec& spec, const ROIUnit& unit, const Verdict& verdict) {
  return Comparison(spec, unit, verdict).Steps();
}

std::optional<Reason> ReasonOf(DecidingStep step) {
  switch (step) {
    case DecidingStep::Inputs:
      return Reason::InputsMissing;
    case DecidingStep::Search:
      return Reason::NoPlacement;
    case DecidingStep::Difference:
      return Reason::Difference;
    case DecidingStep::MinScore:
      return Reason::MinScore;
    case DecidingStep::Placement:
      return Reason::PlacementOutside;
    case DecidingStep::FlatWhite:
      return Reason::FlatWhite;
    case DecidingStep::NoEdges:
      return Reason::NoEdges;
    case DecidingStep::Darkness:
      return Reason::Darkness;
    case DecidingStep::Ncc:
      return Reason::GreyCorrelation;
    case DecidingStep::EdgeCorrelation:
      return Reason::EdgeCorrelation;
    case DecidingStep::EdgeDensity:
      return Reason::EdgeDensity;
    case DecidingStep::Chroma:
      return Reason::Chroma;
    case DecidingStep::Colour:
      return Reason::Colour;
    case DecidingStep::Accepted:
      break;
  }
  return std::nullopt;
}

}  // namespace quillmark::explain
