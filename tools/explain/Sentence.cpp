#include "explain/Sentence.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "text/Numbers.h"

namespace quillmark::explain {
namespace {

std::string LowerFirst(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

// A step's figure beside its limit.
std::string Against(const Step& step, const Explanation& e) {
  if (step.id == CodeOf(Reason::EdgeDensity) && e.sight) {
    // The two densities say more than their distance.
    const Verdict& v = e.sight->verdict;
    const TwoNumbers shown = DigitsOf(v.density, e.spec.edgeDensity);
    return shown.first + " against " + shown.second + " +- " + Digits(step.gate->limit.Value());
  }
  if (!step.gate) return step.remark;
  const TwoNumbers shown = DigitsOf(step.gate->figure, step.gate->limit.Value());
  const bool atMost = step.gate->bound == Bound::AtMost;
  return shown.first + (atMost ? ", at most " : ", at least ") + shown.second;
}

std::string Hit(const Explanation& e) {
  const Verdict& v = e.sight->verdict;
  return "A hit: " + std::to_string(v.hit.w) + " x " + std::to_string(v.hit.h) + " pixels around " +
         std::to_string(v.hit.cx) + "," + std::to_string(v.hit.cy) + " of the client area, score " +
         Digits(v.sq) + ", edge score " + Digits(v.edgeScore) + ".";
}

}  // namespace

std::string SentenceOf(const Explanation& e) {
  if (e.IsHit()) return Hit(e);
  std::vector<const Step*> vetoes;
  for (const Step& step : e.steps) {
    if (step.outcome == StepOutcome::Vetoed) vetoes.push_back(&step);
  }
  if (!e.sight) {
    std::string meaning(EntryOf(*e.reason).meaning);
    meaning.pop_back();
    const std::string& remark = vetoes.back()->remark;
    return "Not compared: " + LowerFirst(meaning) + (remark.empty() ? "." : " (" + remark + ").");
  }
  const auto decisive =
      std::find_if(vetoes.begin(), vetoes.end(), [&](const Step* step) { return step->reason == e.reason; });
  std::string text = "Rejected by " + LowerFirst((*decisive)->title) + ": " + Against(**decisive, e);
  vetoes.erase(decisive);
  const Verdict& v = e.sight->verdict;
  if (!v.found || v.decidedBy == DecidingStep::Placement) return text + ".";  // there was no else
  if (vetoes.empty()) return text + "; everything else passes.";
  text += "; ";
  for (std::size_t i = 0; i < vetoes.size(); ++i) {
    if (i > 0) text += i + 1 == vetoes.size() ? " and " : ", ";
    text += LowerFirst(vetoes[i]->title) + " (" + Against(*vetoes[i], e) + ")";
  }
  return text + " would reject it too.";
}

}  // namespace quillmark::explain
