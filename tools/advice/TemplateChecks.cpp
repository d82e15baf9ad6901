#include <algorithm>
#include <cmath>
#include <string>

#include "advice/Checks.h"
#include "core/ImageFigures.h"
#include "core/Matcher.h"
#include "text/Numbers.h"
#include "text/Places.h"

namespace quillmark::advice {
namespace {

// A smaller share of red pixels is hardly red.
constexpr double kHardlyRed = 0.02;

// How far the level of a plain place may be off; for templates compared by their mean squared difference.
std::string ReachText(const TemplateSpec& spec, const Verdict& v, const MeanAndStdDev& levels) {
  if (spec.mode != MatchMode::Gray || levels.stdDev >= kFlatStdDev) return {};
  const double reach = 255.0 * std::sqrt(std::max(AcceptedDifference(v, spec), 0.0));
  return "; plain places up to " + Digits(reach, 2) + " levels away are hits";
}

// Templates too plain to compare their structure.
void CheckDetail(const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  const MeanAndStdDev levels = LevelsOf(spec.tmplGray);
  const std::vector<Fact> facts{
      {"mean", levels.mean}, {"spread", levels.stdDev}, {"edges", spec.edgeDensity}};
  if (v.flatWhite.Measured()) {
    list.Add(FindingCode::BlankWhite,
             "mean grey level " + Digits(levels.mean, 4) + ", spread " + Digits(levels.stdDev), facts);
  } else if (v.traits.flat) {
    list.Add(FindingCode::Flat,
             "grey levels spread by " + Digits(levels.stdDev) + ", " + Digits(100.0 * spec.edgeDensity) +
                 " % of the pixels are edges" + ReachText(spec, v, levels),
             facts);
  } else if (v.traits.lowDetail && !v.traits.tiny) {
    list.Add(FindingCode::LowDetail, Digits(100.0 * spec.edgeDensity) + " % of the pixels are edges", facts);
  }
}

void CheckPlain(const TemplateSpec& spec, const Verdict& own, FindingList& list) {
  if (own.traits.flat || !own.Accepted()) return;
  cv::Mat plain(spec.tmplBgr.size(), CV_8UC3, cv::mean(spec.tmplBgr));
  const Probe probe = ProbeOn(plain, spec);
  if (!probe.verdict.Accepted()) return;
  list.Add(FindingCode::MatchesPlain, "with a difference of " + Digits(probe.verdict.dist),
           {{"difference", probe.verdict.dist}});
}

void CheckRedShare(const TemplateSpec& spec, FindingList& list) {
  if (!spec.redHint || IsHueMode(spec.mode) || spec.redRatio >= kHardlyRed) return;
  list.Add(FindingCode::RedWithoutRed, Digits(100.0 * spec.redRatio) + " % of the pixels are red",
           {{"share", spec.redRatio}});
}

}  // namespace

void CheckTemplate(const Subject& subject, const Probe& own, FindingList& list) {
  const TemplateSpec& spec = subject.spec;
  const Verdict& v = own.verdict;
  if (!v.Accepted()) {
    const std::string refusal = RefusalText(own, spec);
    list.Add(FindingCode::NeverOnItself, "rejected by " + refusal, {{"refusal", refusal}});
  }
  if (v.traits.tiny) {
    list.Add(FindingCode::Tiny, SizeText({v.tw, v.th}) + " pixels", {{"width", v.tw}, {"height", v.th}});
  }
  if (!IsHueMode(spec.mode)) {
    CheckDetail(spec, v, list);
    CheckPlain(spec, v, list);
  }
  CheckRedShare(spec, list);
}

}  // namespace quillmark::advice
