#include "explain/Limits.h"

#include <algorithm>
#include <string>
#include <utility>

#include "explain/Numbers.h"

namespace quillmark::explain {
namespace {

// Collects the rules that changed something; the first one always counts.
class Rules {
 public:
  Rules(std::string rule, double limit) : rules{{std::move(rule), limit}} {}

  void Then(std::string rule, double limit) {
    if (limit != rules.back().limit) rules.push_back({std::move(rule), limit});
  }
  [[nodiscard]] double Limit() const { return rules.back().limit; }
  [[nodiscard]] std::vector<LimitRule> Take() { return std::move(rules); }

 private:
  std::vector<LimitRule> rules;
};

constexpr char kClipped[] = "the monitor's edge cuts the region: ";

}  // namespace

bool IsColourless(const TemplateSpec& spec) {
  return spec.hsvMean[1] <= 15.0;
}

std::vector<LimitRule> DifferenceRules(const TemplateSpec& spec, const ROIUnit& unit,
                                       const Verdict& verdict) {
  Rules rules("the spec's largest difference", spec.maxDiff);
  if (unit.clipped) {
    rules.Then(kClipped + std::string("at least 0.16"), std::max(rules.Limit(), 0.16));
    rules.Then(kClipped + std::string("at most 0.25"), std::min(rules.Limit(), 0.25));
  }
  if (IsHueMode(spec.mode)) {
    rules.Then("modes h and hs: at least 0.35", std::max(rules.Limit(), 0.35));
  } else if (verdict.tiny) {
    rules.Then("a template of at most 256 pixels: at most 0.06", std::min(rules.Limit(), 0.06));
  }
  return rules.Take();
}

std::vector<LimitRule> GreyCorrelationRules(const TemplateSpec& spec, const ROIUnit& unit,
                                            const Verdict& verdict) {
  Rules rules("always", 0.58);
  if (verdict.lowDetail) {
    if (spec.redHint) {
      rules.Then("a red template of little detail", 0.6);
    } else {
      rules.Then("a template of little detail", 0.7);
    }
  }
  if (unit.clipped) {
    rules.Then(kClipped + std::string("0.05 lower, but not below 0.5"), std::max(rules.Limit() - 0.05, 0.5));
  }
  return rules.Take();
}

std::vector<LimitRule> EdgeCorrelationRules(const TemplateSpec& spec, const ROIUnit& unit,
                                            const Verdict& verdict) {
  Rules rules("the spec's least edge correlation", spec.edgeMin);
  if (verdict.dist <= spec.edgeRelaxDiff) {
    rules.Then("the difference is at most " + Digits(spec.edgeRelaxDiff) + ": " + Digits(spec.edgeRelaxStep) +
                   " lower",
               rules.Limit() - spec.edgeRelaxStep);
  }
  rules.Then("never below " + Digits(spec.edgeMinFloor), std::max(rules.Limit(), spec.edgeMinFloor));
  if (unit.clipped) rules.Then(kClipped + std::string("0.05 lower"), rules.Limit() - 0.05);
  return rules.Take();
}

std::vector<LimitRule> ColourRules(ColourTest test, const TemplateSpec& spec, const ROIUnit& unit,
                                   const Verdict& verdict) {
  if (test == ColourTest::Red || test == ColourTest::LabA) {
    const bool red = test == ColourTest::Red;
    Rules rules("always", red ? 0.08 : 8.0);
    if (unit.clipped) rules.Then(kClipped + std::string("wider"), red ? 0.12 : 10.0);
    return rules.Take();
  }
  if (test == ColourTest::Value && IsColourless(spec)) {
    return Rules("a template without colour: brightness alone", 45.0).Take();
  }
  Rules rules("always", 12.0);
  if (test == ColourTest::Hue && verdict.lowDetail) rules.Then("a template of little detail", 18.0);
  if (test == ColourTest::Saturation && spec.vividFlat) rules.Then("a vivid, flat template", 8.0);
  if (test == ColourTest::Value && spec.vividFlat) rules.Then("a vivid, flat template", 10.0);
  if (unit.clipped) rules.Then(kClipped + std::string("3 wider"), rules.Limit() + 3.0);
  return rules.Take();
}

}  // namespace quillmark::explain
