// A gate of the decision: a measured figure, its limit, the outcome, and the rules that moved the limit, so
// that an explanation of a verdict prints values and computes nothing.
//
// Threading: plain values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <span>

namespace quillmark {

enum class Bound : std::int32_t { AtMost, AtLeast };

// What moved a limit.
enum class Rule : std::int32_t {
  Usual,           // the gate's own limit
  Spec,            // the spec's
  ClippedMinimum,  // the monitor clips the region: raised to a minimum,
  ClippedMaximum,  // lowered to a maximum,
  Clipped,         // or relaxed by a step
  HueMode,
  Tiny,
  LowDetail,
  LowDetailRed,
  Relaxed,  // the difference is small
  Floor,    // the lowest relaxed limit
  Colourless,
  VividFlat,
};

struct LimitRule {
  Rule rule = Rule::Usual;
  double limit = 0.0;  // once the rule has been applied
};

// A limit and the rules that moved it, in order. The first rule is always listed.
class Limit {
 public:
  Limit() = default;
  Limit(Rule rule, double value) : rules{{{rule, value}}}, count(1) {}

  void Becomes(Rule rule, double value) {
    if (value == Value()) return;
    CV_DbgAssert(count < rules.size());
    rules[count++] = {rule, value};
  }

  [[nodiscard]] double Value() const { return count == 0 ? 0.0 : rules[count - 1].limit; }
  [[nodiscard]] std::span<const LimitRule> Rules() const { return {rules.data(), count}; }

 private:
  std::array<LimitRule, 4> rules{};
  std::size_t count = 0;
};

enum class Outcome : std::int32_t {
  NotMeasured,  // no veto
  Passed,
  Failed,
  Waived,  // measured but ignored: no veto
};

// Why a gate was not measured or is ignored.
enum class Because : std::int32_t {
  None,
  NotReached,
  NoMinScore,     // the spec sets none
  NotBlankWhite,  // the template is not
  FlatTemplate,   // almost uniform
  TinyTemplate,
  LowDetail,
  NotVividFlat,
  NoChroma,      // the spec compares no chroma plane
  NoColourTest,  // the spec asks for none
  HueMode,       // the difference alone decides
  RedSpec,       // colour decides in place of structure,
  StrictSpec,    // likewise
  Clipped,
  NoRedHint,
  Colourless,  // the template has no colour
};

struct GateResult {
  double figure = 0.0;
  Limit limit;
  Bound bound = Bound::AtMost;
  Outcome outcome = Outcome::NotMeasured;
  Because because = Because::NotReached;

  [[nodiscard]] bool Measured() const { return outcome != Outcome::NotMeasured; }
  [[nodiscard]] bool HasSay() const { return outcome == Outcome::Passed || outcome == Outcome::Failed; }
  [[nodiscard]] bool Vetoes() const { return outcome == Outcome::Failed; }
  // How far the figure is inside the limit; negative outside.
  [[nodiscard]] double Margin() const {
    return bound == Bound::AtMost ? limit.Value() - figure : figure - limit.Value();
  }
};

[[nodiscard]] inline GateResult AtMost(double figure, const Limit& limit) {
  const Outcome outcome = figure <= limit.Value() ? Outcome::Passed : Outcome::Failed;
  return {figure, limit, Bound::AtMost, outcome, Because::None};
}

[[nodiscard]] inline GateResult AtLeast(double figure, const Limit& limit) {
  const Outcome outcome = figure >= limit.Value() ? Outcome::Passed : Outcome::Failed;
  return {figure, limit, Bound::AtLeast, outcome, Because::None};
}

[[nodiscard]] inline GateResult NotMeasured(Because because) {
  GateResult result;
  result.because = because;
  return result;
}

// Makes the decision ignore a measured gate.
inline void Waive(GateResult& gate, Because because) {
  if (!gate.Measured()) return;
  gate.outcome = Outcome::Waived;
  gate.because = because;
}

}  // namespace quillmark
