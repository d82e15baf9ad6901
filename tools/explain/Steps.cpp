#include "explain/Steps.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "text/Numbers.h"
#include "text/Places.h"

namespace quillmark::explain {
namespace {

struct GateWords {
  GateResult Verdict::*gate;
  std::string_view title, measures;
};
constexpr GateWords kWords[] = {
    {&Verdict::difference, "Difference", "difference from the template at the best place"},
    {&Verdict::minScore, "Minimum score", "score, 1 minus the difference"},
    {&Verdict::flatWhite, "Blank white", "spread of the place's grey levels"},
    {&Verdict::darkness, "Darkness", "how much darker the place is than the template, in levels"},
    {&Verdict::greyCorrelation, "Grey correlation", "correlation of the grey levels with the template's"},
    {&Verdict::edgeCorrelation, "Edge correlation",
     "correlation of the edges, plain or dilated, whichever is larger"},
    {&Verdict::edgeDensity, "Edge density", "difference in the share of edge pixels"},
    {&Verdict::chroma, "Chroma", "correlation of the red-difference plane (Cr)"},
    {&Verdict::hue, "Mean hue", "difference of the mean hues, on a circle of 180"},
    {&Verdict::saturation, "Mean saturation", "difference of the mean saturations"},
    {&Verdict::value, "Mean brightness", "difference of the mean brightnesses"},
    {&Verdict::red, "Share of red", "difference in the share of red pixels"},
    {&Verdict::labA, "Mean a*", "difference of the means of a*, green to red"},
};
static_assert(std::ranges::equal(kWords, kAllGates, {}, &GateWords::gate, &GateEntry::result));

constexpr std::pair<Because, std::string_view> kBecause[] = {
    {Because::NotReached, "not measured after the veto"},
    {Because::NoMinScore, "the spec sets no minimum score"},
    {Because::NotBlankWhite, "the template is not blank white"},
    {Because::FlatTemplate, "the template is almost uniform"},
    {Because::LowDetail, "the template has too little detail"},
    {Because::NotVividFlat, "the template is not vivid and flat"},
    {Because::NoChroma, "the spec does not look for red"},
    {Because::NoColourTest, "the spec uses no colour checks"},
    {Because::HueMode, "in modes h and hs only the difference decides"},
    {Because::RedSpec, "a red spec: colour decides instead of structure"},
    {Because::StrictSpec, "strict: colour decides instead of structure"},
    {Because::NoRedHint, "counts as agreed: the spec is not red"},
    {Because::Colourless, "counts as agreed: the template has no colour"},
};

constexpr std::pair<Rule, std::string_view> kRules[] = {
    {Rule::Usual, "usual limit"},
    {Rule::Spec, "the spec's limit"},
    {Rule::HueMode, "modes h and hs"},
    {Rule::LowDetail, "a template with little detail"},
    {Rule::LowDetailRed, "a red template with little detail"},
    {Rule::Relaxed, "the difference is small"},
    {Rule::Floor, "the limit's floor"},
    {Rule::Colourless, "a template without colour"},
    {Rule::VividFlat, "a vivid, flat template"},
};

// The text for a key in a table; empty if it is not there.
std::string TextIn(const auto& table, const auto& key) {
  for (const auto& [known, text] : table) {
    if (known == key) return std::string(text);
  }
  return {};
}

std::string Explained(Because because, const TemplateSpec& spec) {
  if (because == Because::TinyTemplate) return TextOf(Rule::Tiny);
  if (because == Because::Clipped) return TextOf(Rule::Clipped);
  std::string text = TextIn(kBecause, because);
  if (because == Because::FlatTemplate || because == Because::LowDetail) {
    text += "; its edge density is " + Digits(spec.edgeDensity);
  }
  if (because == Because::LowDetail) text += ", below " + Digits(kLowDetailDensity);
  return text;
}

StepOutcome OutcomeOf(const GateResult& result, DecidingStep step) {
  if (result.outcome == Outcome::Passed) return StepOutcome::Passed;
  if (result.outcome == Outcome::Waived) return StepOutcome::Waived;
  if (result.outcome == Outcome::NotMeasured) return StepOutcome::NotMeasured;
  return step == DecidingStep::Colour ? StepOutcome::Missed : StepOutcome::Vetoed;  // one of three is no veto
}

// Maps an enumeration to the reasons in the same order.
template <Reason first, Reason last, auto lastOf>
std::optional<Reason> InTheOrderOf(decltype(lastOf) of) {
  static_assert(static_cast<int>(last) - static_cast<int>(first) == static_cast<int>(lastOf));
  if (of > lastOf) return std::nullopt;
  return static_cast<Reason>(static_cast<std::int32_t>(first) + static_cast<std::int32_t>(of));
}

class Comparison {
 public:
  Comparison(const TemplateSpec& spec_, const ROIUnit& unit_, const Verdict& verdict_)
      : spec(spec_), unit(unit_), v(verdict_) {}

  std::vector<Step> Steps() {
    AddSearch();
    if (!v.found) return std::move(steps);
    for (const GateEntry& gate : kAllGates) {
      if (gate.step == DecidingStep::FlatWhite && v.decidedBy == DecidingStep::Placement) {
        Add(DecidingStep::Placement, "Placement", "whether the place is inside the grey image",
            StepOutcome::Vetoed);
        return std::move(steps);
      }
      if (gate.step == DecidingStep::Darkness && v.decidedBy == DecidingStep::NoEdges) {
        Add(DecidingStep::NoEdges, "Edges", "edges at the place", StepOutcome::Vetoed);
      }
      if (gate.step != DecidingStep::Colour || v.colourActive) AddGate(gate);
    }
    AddColour();
    return std::move(steps);
  }

 private:
  Step& Add(DecidingStep deciding, std::string_view title, std::string_view measures, StepOutcome outcome) {
    const Reason reason = *ReasonOf(deciding);
    steps.push_back({std::string(CodeOf(reason)), std::string(title), std::string(measures), outcome});
    if (outcome == StepOutcome::Vetoed) steps.back().reason = reason;
    return steps.back();
  }

  void AddSearch() {
    if (v.decidedBy == DecidingStep::Inputs) {
      Add(DecidingStep::Inputs, "Planes", "planes that the mode compares", StepOutcome::Vetoed);
      return;
    }
    Step& search = Add(DecidingStep::Search, "Search", "room for the template in the region",
                       v.found ? StepOutcome::Passed : StepOutcome::Vetoed);
    const std::int64_t across = unit.gray.cols - v.tw + 1, down = unit.gray.rows - v.th + 1;
    search.remark = v.found ? "the best of " + std::to_string(across * down) + " places"
                            : SizeText({v.tw, v.th}) + " pixels, in a region of " +
                                  SizeText(unit.gray.size()) + " at the template's scale";
  }

  void AddGate(const GateEntry& gate) {
    const GateResult& result = v.*gate.result;
    const GateWords& words = *std::ranges::find(kWords, gate.result, &GateWords::gate);
    Step& step = Add(gate.step, words.title, words.measures, OutcomeOf(result, gate.step));
    step.id = gate.name;
    if (result.Measured()) step.gate = result;
    step.remark = result.because == Because::None ? PartsOf(gate.result) : Explained(result.because, spec);
  }

  // What the figure was computed from.
  [[nodiscard]] std::string PartsOf(GateResult Verdict::*gate) const {
    const auto means = [&](int channel) { return Parts(v.hsvMean[channel], spec.hsvMean[channel]); };
    if (gate == &Verdict::edgeCorrelation) return "plain " + Digits(v.e1) + ", dilated " + Digits(v.e2);
    if (gate == &Verdict::edgeDensity) return Parts(v.density, spec.edgeDensity);
    if (gate == &Verdict::hue) return means(0);
    if (gate == &Verdict::saturation) return means(1);
    if (gate == &Verdict::value) return means(2);
    if (gate == &Verdict::red) return Parts(v.redRatio, spec.redRatio);
    if (gate == &Verdict::labA) return Parts(v.labAMean, spec.labAMean);
    return {};
  }
  static std::string Parts(double place, double tmpl) {
    const TwoNumbers shown = DigitsOf(place, tmpl);
    return "place " + shown.first + ", template " + shown.second;
  }

  void AddColour() {
    const bool waived = v.value.because == Because::HueMode;
    const ColourAgreement agreed = ColourAgreementOf(v);
    const StepOutcome outcome = !v.colourActive ? StepOutcome::NotMeasured
                                : waived        ? StepOutcome::Waived
                                : agreed.Any()  ? StepOutcome::Passed
                                                : StepOutcome::Vetoed;
    Step& colour =
        Add(DecidingStep::Colour, "Colour", "one of three must agree: HSV means, red, a*", outcome);
    if (!v.colourActive || waived) {
      colour.remark = Explained(v.value.because, spec);
      return;
    }
    const auto add = [&](const char* test, const GateResult* result) {
      colour.remark += (colour.remark.empty() ? "agree: " : ", ") + std::string(test);
      if (result != nullptr && !result->HasSay()) colour.remark += " (counts as agreed)";
    };
    if (agreed.hsv) add("HSV means", nullptr);
    if (agreed.red) add("red", &v.red);
    if (agreed.labA) add("a*", &v.labA);
    if (!agreed.Any()) colour.remark = "none of the three agrees";
  }

  const TemplateSpec& spec;
  const ROIUnit& unit;
  const Verdict& v;
  std::vector<Step> steps;
};

}  // namespace

Verdict ThoroughVerdict(const ROIUnit& unit, const TemplateSpec& spec) {
  try {
    return EvaluateRegion(unit, spec, Thoroughness::EveryStep);
  } catch (const cv::Exception&) {
    return EvaluateRegion(unit, spec);
  }
}

std::vector<Step> ComparisonSteps(const TemplateSpec& spec, const ROIUnit& unit, const Verdict& verdict) {
  return Comparison(spec, unit, verdict).Steps();
}

std::optional<Reason> ReasonOf(DecidingStep step) {
  return InTheOrderOf<Reason::InputsMissing, Reason::Colour, DecidingStep::Colour>(step);
}

std::optional<Reason> ReasonOf(BindingOutcome outcome) {
  return InTheOrderOf<Reason::TargetEmpty, Reason::NoMonitor, BindingOutcome::NoMonitor>(outcome);
}

std::string TextOf(Rule rule) {
  if (rule == Rule::Tiny) return "a template of at most " + std::to_string(kTinyPixels) + " pixels";
  const std::string text = TextIn(kRules, rule);
  return text.empty() ? "part of the region is off the monitor" : text;  // all of the clipped rules
}

}  // namespace quillmark::explain
