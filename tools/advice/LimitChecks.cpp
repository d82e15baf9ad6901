#include <string>

#include "advice/Checks.h"
#include "text/Numbers.h"

namespace quillmark::advice {
namespace {

// Differences of unlike pictures begin about here.
constexpr double kLoose = 0.25;
// The rounding of the search comes close to this.
constexpr double kTight = 0.001;

void CheckScore(const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  if (spec.minScore <= 0.0 || 1.0 - spec.minScore < v.difference.limit.Value()) return;
  list.Add(FindingCode::ScoreWithoutEffect,
           "a score of " + Digits(spec.minScore) + " admits a difference of " + Digits(1.0 - spec.minScore) +
               ", but at most " + Digits(v.difference.limit.Value()) + " is accepted",
           {{"score", spec.minScore}, {"difference", v.difference.limit.Value()}});
}

void CheckDifference(const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  const double limit = AcceptedDifference(v, spec);
  const std::string text = "differences up to " + Digits(limit) + " are accepted";
  if (limit > kLoose && !IsHueMode(spec.mode))
    list.Add(FindingCode::DifferenceLoose, text, {{"difference", limit}});
  if (limit < kTight) list.Add(FindingCode::DifferenceTight, text, {{"difference", limit}});
}

void CheckEdgeMin(float given, const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  if (given == static_cast<float>(TemplateSpec().edgeMin)) return;
  const std::vector<Fact> facts{{"edgeMin", static_cast<double>(given)}};
  if (!v.edgeCorrelation.HasSay()) {
    list.Add(FindingCode::EdgeMinWithoutEffect, "edges have no say in this spec", facts);
  } else if (spec.edgeMin < spec.edgeMinFloor) {
    list.Add(FindingCode::EdgeMinWithoutEffect,
             Digits(spec.edgeMin) + " is below the floor and acts as " + Digits(spec.edgeMinFloor), facts);
  }
}

}  // namespace

void CheckLimits(const Subject& subject, const Probe& own, FindingList& list) {
  const TemplateSpec& spec = subject.spec;
  const Verdict& v = own.verdict;
  CheckDifference(spec, v, list);
  CheckScore(spec, v, list);
  CheckEdgeMin(subject.given.request.edgeMin, spec, v, list);
  if (spec.colorGate && !spec.redHint && !IsHueMode(spec.mode)) {
    list.Add(
        FindingCode::StructureWaived,
        "differences up to " + Digits(AcceptedDifference(v, spec)) + " are accepted, and nothing else counts",
        {{"difference", AcceptedDifference(v, spec)}});
  }
}

}  // namespace quillmark::advice
