#include "advice/LimitSearch.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "advice/Probe.h"
#include "explain/Steps.h"
#include "text/Numbers.h"
#include "text/Wording.h"

namespace quillmark::advice {
namespace {

using reasons::Reason;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// What the search needs of a sample.
struct Case {
  bool positive;
  std::optional<Reason> fixed;  // a veto that no setting removes
  bool compared;                // whether it has a difference
  double dist;
  double edgeKey;  // the largest edgeMin that accepts it; infinite if edges are ignored
};

double EdgeKey(const Verdict& v, const TemplateSpec& spec) {
  if (!v.edgeCorrelation.HasSay()) return kInfinity;
  TemplateSpec other = spec;
  const auto limitWith = [&](double edgeMin) {
    other.edgeMin = edgeMin;
    return EdgeCorrelationLimit(v.dist, {other, false, v.traits}).Value();
  };
  if (v.edgeCorrelation.figure < limitWith(-kInfinity)) return -kInfinity;
  constexpr double farAboveTheFloor = 1.0;
  return v.edgeCorrelation.figure + (farAboveTheFloor - limitWith(farAboveTheFloor));
}

Case CaseOf(const Sample& sample, const TemplateSpec& spec) {
  const Verdict& v = sample.verdict;
  Case result{sample.positive, {}, v.found, v.dist, EdgeKey(v, spec)};
  if (sample.steps.empty()) result.fixed = sample.reason;
  for (const explain::Step& step : sample.steps) {
    const bool veto = step.outcome == explain::StepOutcome::Vetoed && step.reason;
    if (veto && !CanBeSet(reasons::CodeOf(*step.reason)) && !result.fixed) result.fixed = step.reason;
  }
  return result;
}

class Search {
 public:
  Search(const Samples& samples, const TemplateSpec& spec_) : spec(spec_) {
    for (const Sample& sample : samples) {
      cases.push_back(CaseOf(sample, spec));
      if (!sample.verdict.found) continue;
      TemplateSpec unlimited = spec;
      unlimited.maxDiff = kInfinity;
      ceiling = DifferenceLimit({unlimited, false, sample.verdict.traits}).Value();
      inForce = AcceptedDifference(sample.verdict, spec);
    }
    for (const Case& one : cases) {
      if (!one.positive) continue;
      farthest = std::max(farthest, one.dist);
      minKey = std::min(minKey, one.edgeKey);
    }
  }

  LimitSearch Run() const {
    if (std::string obstacle = FixedObstacle(); !obstacle.empty()) return {{}, std::move(obstacle)};
    if (minKey >= spec.edgeMin) {
      if (const double nearest = NearestNegative(spec.edgeMin); nearest > farthest) {
        return {RangesFor(nearest, {}), {}};
      }
    }
    return WithOtherEdgeMin();
  }

 private:
  // Why no setting can accept all positives; empty if some can.
  [[nodiscard]] std::string FixedObstacle() const {
    const auto blocked =
        std::ranges::find_if(cases, [](const Case& one) { return one.positive && one.fixed.has_value(); });
    if (blocked != cases.end()) {
      const auto count = std::ranges::count_if(
          cases, [&](const Case& one) { return one.positive && one.fixed == blocked->fixed; });
      return Counted(static_cast<std::size_t>(count), "positive") + " rejected by " +
             std::string(reasons::CodeOf(*blocked->fixed)) + ", which has no setting";
    }
    if (minKey == -kInfinity) {
      return "a positive's edge correlation is below " + Digits(spec.edgeMinFloor) +
             ", the lowest limit that can be set";
    }
    if (farthest > ceiling) {
      return "the positives differ by up to " + Digits(farthest) + ", but " + explain::TextOf(Rule::Tiny) +
             " accepts at most " + Digits(ceiling);
    }
    return {};
  }

  // The smallest difference of a negative that neither this edgeMin nor a fixed veto rejects.
  [[nodiscard]] double NearestNegative(double edgeMin) const {
    double nearest = kInfinity;
    for (const Case& one : cases) {
      if (!one.positive && !one.fixed && one.edgeKey >= edgeMin) nearest = std::min(nearest, one.dist);
    }
    return nearest;
  }

  [[nodiscard]] LimitRanges RangesFor(double nearest, std::optional<Separation> edgeMin) const {
    // Prefer a difference that also rejects what other steps reject.
    double nearestOfAll = kInfinity;
    for (const Case& one : cases) {
      if (!one.positive && one.compared) nearestOfAll = std::min(nearestOfAll, one.dist);
    }
    if (nearestOfAll > farthest) nearest = std::min(nearest, nearestOfAll);
    const bool bounded = nearest != kInfinity;
    // Without a bound, keep the limit or leave the positives some room.
    if (!bounded) nearest = std::max(2.0 * inForce - farthest, 1.5 * farthest + 0.01);
    return {{farthest, std::min(nearest, ceiling)}, bounded, inForce, edgeMin};
  }

  [[nodiscard]] LimitSearch WithOtherEdgeMin() const {
    // Edges must reject the negatives that are as near as the positives.
    double maxKey = -kInfinity;
    std::size_t nearby = 0;
    for (const Case& one : cases) {
      if (one.positive || one.fixed || one.dist > farthest) continue;
      maxKey = std::max(maxKey, one.edgeKey);
      ++nearby;
    }
    if (!(maxKey < minKey)) {
      return {{},
              Counted(nearby, "negative") + (nearby == 1 ? " differs" : " differ") +
                  " no more than the farthest positive (" + Digits(farthest) +
                  "), and edges do not separate them"};
    }
    const Separation edgeMin{std::max(maxKey, spec.edgeMinFloor), minKey};
    if (minKey == kInfinity || !(edgeMin.low < edgeMin.high)) {
      return {{},
              "the positives' edges leave no room above " + Digits(spec.edgeMinFloor) +
                  ", the lowest limit that can be set"};
    }
    const double nearest = NearestNegative(RoundLimit(edgeMin));
    return {RangesFor(nearest, edgeMin), {}};
  }

  const TemplateSpec& spec;
  std::vector<Case> cases;
  double ceiling = kInfinity;                 // no setting accepts a larger difference
  double inForce = 0.0;                       // the current maximum difference
  double farthest = 0.0, minKey = kInfinity;  // of the positives
};

}  // namespace

bool CanBeSet(std::string_view gate) {
  return gate == "difference" || gate == "min-score" || gate == "edge-correlation";
}

LimitSearch FindLimits(const Samples& samples, const TemplateSpec& spec) {
  return Search(samples, spec).Run();
}

}  // namespace quillmark::advice
