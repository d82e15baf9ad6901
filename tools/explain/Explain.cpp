#include "explain/Explain.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "app/frame/OpenCvConfig.h"
#include "explain/Remedies.h"
#include "explain/Steps.h"
#include "ipc/HitRecord.h"
#include "picture/PictureFile.h"
#include "specs/SpecOptions.h"
#include "specs/SpecStore.h"
#include "specs/TemplatePreparation.h"
#include "specs/Utf8.h"
#include "text/Numbers.h"
#include "text/Places.h"

namespace quillmark::explain {
namespace {

Step VetoOf(Step step, Reason reason) {
  step.outcome = StepOutcome::Vetoed;
  step.reason = reason;
  return step;
}

// Why the preparation rejected an image file.
Reason ReasonOfImage(const std::wstring& path) {
  return ReadPicture(path).reason.value_or(Reason::ImageRefused);
}

// Prepares the template; the step has a reason when it was rejected.
Step PrepareStep(TemplateSpec& spec) {
  Step step{"template", "Template", "image file of the template", StepOutcome::Passed};
  try {
    if (!PrepareTemplate(spec)) {
      step.remark = ToUtf8(DisplayPath(spec.path));
      return VetoOf(std::move(step), ReasonOfImage(spec.path));
    }
  } catch (const std::exception& error) {
    const Reason reason = ReasonOfImage(spec.path);
    if (reason != Reason::ImagePath) step.remark = ToUtf8(DisplayPath(spec.path));
    if (reason == Reason::ImageRefused) step.remark += ": " + ToUtf8(CauseOf(error));
    return VetoOf(std::move(step), reason);
  }
  step.remark = SizeText(spec.tmplGray.size()) + " pixels, edge density " + Digits(spec.edgeDensity);
  return step;
}

// Adds region, monitor and size; false when one of them ends the explanation.
bool AddPlaceSteps(Explanation& e, const RegionOnFrame& place, const Rect& frame) {
  Step region{"region", "Region", "region inside the target's client area", StepOutcome::Passed,
              RectText(place.region) + " on the desktop"};
  if (IsEmpty(place.region)) {
    region.remark = "client area " + RectText(e.spec.targetRect) + " on the desktop";
    EndWith(e, VetoOf(std::move(region), Reason::RegionOutsideTarget));
    return false;
  }
  e.steps.push_back(std::move(region));

  Step monitor{"monitor", "Monitor", "part of the region that is on the monitor", StepOutcome::Passed,
               place.Clipped()
                   ? RectText(place.visible) + "; clipped at the edge, which relaxes several limits"
                   : "all of it"};
  if (place.OffFrame()) {
    monitor.remark = IsEmpty(frame) ? "the region is " + RectText(place.region)
                                    : "the screenshot shows only " + RectText(frame);
    EndWith(e, VetoOf(std::move(monitor), Reason::RegionOffMonitor));
    return false;
  }
  e.steps.push_back(std::move(monitor));

  Step size{"size", "Size", "room for the template at the target's scale", StepOutcome::Passed,
            SizeText(place.tmplSize) + " on the desktop, in " + SizeText(ToCv(place.visible).size())};
  if (!place.HoldsTemplate()) {
    EndWith(e, VetoOf(std::move(size), Reason::RegionTooSmall));
    return false;
  }
  e.steps.push_back(std::move(size));
  return true;
}

// Adds the interval, which one screenshot cannot show.
void AddPacing(Explanation& e) {
  const TemplateSpec& spec = e.spec;
  std::string due = "in every frame";
  if (spec.frameDivisor > 1) {
    due = "in 1 of " + std::to_string(spec.frameDivisor) + " frames";
  } else if (spec.intervalMs > 0) {
    due = "every " + std::to_string(spec.intervalMs) + " ms";
  }
  e.steps.push_back({"pacing", "Pacing", "whether the spec is due in this frame", StepOutcome::NotMeasured,
                     "depends on time; due " + due});
}

// A hit near the right or bottom edge of the client area is reported shifted.
void AddPosition(Explanation& e) {
  const HitGeometry& hit = e.sight->verdict.hit;
  const cv::Point centre(hit.desktopX - e.spec.targetRect.left, hit.desktopY - e.spec.targetRect.top);
  Step step{"position", "Position", "centre of the hit in the client area", StepOutcome::Passed,
            PointText(centre)};
  if (centre != cv::Point(hit.cx, hit.cy)) {
    step.remark += " is reported as " + PointText({hit.cx, hit.cy}) +
                   ": it is clamped to the client area minus the hit's size";
  }
  e.steps.push_back(std::move(step));
}

void AddDelivery(Explanation& e) {
  AddPosition(e);
  const std::uint64_t window = PositionWindowMs(e.spec.name, e.sight->verdict.dedupWindowMs);
  e.steps.push_back({"duplicate", "Repetition", "whether it repeats the last hit with this name",
                     StepOutcome::NotMeasured,
                     "depends on time; repeats are suppressed for " + std::to_string(window) + " ms"});
  e.steps.push_back({"ring", "Hit ring", "room for the hit", StepOutcome::NotMeasured,
                     "depends on the controller; a hit is dropped when 64 are unread"});
}

// Mentions a second place within the maximum difference: the template is not unique in its region.
void AddSecond(Step& search, const Sight& sight) {
  if (!sight.map || !sight.map->second) return;
  const double second = sight.map->second->dist;
  if (second > sight.verdict.difference.limit.Value()) return;
  search.remark += "; the next one elsewhere also passes, at " + Digits(second);
}

std::string LowerFirst(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

// A step's figure and limit.
std::string Against(const Step& step, const Explanation& e) {
  if (step.id == CodeOf(Reason::EdgeDensity) && e.sight) {
    // The two densities say more than their difference.
    const Verdict& v = e.sight->verdict;
    const TwoNumbers shown = DigitsOf(v.density, e.spec.edgeDensity);
    return shown.first + " against " + shown.second + " +- " + Digits(step.gate->limit.Value());
  }
  if (!step.gate) return step.remark;
  const TwoNumbers shown = DigitsOf(step.gate->figure, step.gate->limit.Value());
  const bool atMost = step.gate->bound == Bound::AtMost;
  return shown.first + (atMost ? ", at most " : ", at least ") + shown.second;
}

std::string HitSentence(const Explanation& e) {
  const Verdict& v = e.sight->verdict;
  return "A hit: " + SizeText({v.hit.w, v.hit.h}) + " pixels around " + PointText({v.hit.cx, v.hit.cy}) +
         " of the client area, score " + Digits(v.sq) + ", edge score " + Digits(v.edgeScore) + ".";
}

// For example "Rejected by edge density: 0.091 against 0.042 +- 0.04; everything else passes."
std::string SentenceOf(const Explanation& e) {
  if (e.IsHit()) return HitSentence(e);
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
  const auto decisive = std::ranges::find(vetoes, e.reason, &Step::reason);
  std::string text = "Rejected by " + LowerFirst((*decisive)->title) + ": " + Against(**decisive, e);
  vetoes.erase(decisive);
  const Verdict& v = e.sight->verdict;
  if (!v.found || v.decidedBy == DecidingStep::Placement) return text + ".";  // nothing else was measured
  if (vetoes.empty()) return text + "; everything else passes.";
  text += "; ";
  for (std::size_t i = 0; i < vetoes.size(); ++i) {
    if (i > 0) text += i + 1 == vetoes.size() ? " and " : ", ";
    text += LowerFirst(vetoes[i]->title) + " (" + Against(*vetoes[i], e) + ")";
  }
  return text + " would reject it too.";
}

}  // namespace

Explanation PrepareExplanation(const SpecRequest& request) {
  ConfigureOpenCvOnce();
  Explanation e;
  e.request = request;
  e.spec = SpecOfCommand(request.target, request.name, request.path, request.roi.x, request.roi.y,
                         request.roi.width, request.roi.height, request.edgeMin, request.threshold);
  Step step = PrepareStep(e.spec);
  ApplyNameOptions(e.spec);
  if (step.reason) {
    EndWith(e, std::move(step));
  } else {
    e.steps.push_back(std::move(step));
  }
  return e;
}

void EndWith(Explanation& explanation, Step step) {
  explanation.reason = step.reason;
  explanation.steps.push_back(std::move(step));
  explanation.sentence = SentenceOf(explanation);
}

void ExplainOn(Explanation& e, const Picture& picture, const Progress& progress) {
  const auto report = [&](std::size_t done) {
    if (progress) progress(done);
  };
  const TemplateSpec& spec = e.spec;
  const Rect frame = picture.Area();
  const RegionOnFrame place = PlaceRegion(spec, frame);
  if (!AddPlaceSteps(e, place, frame)) return;
  AddPacing(e);
  try {
    Sight sight;
    sight.picture = picture;
    sight.place = place;
    sight.unit = CutRegion(spec, place, picture.bgra, picture.origin);
    report(1);
    sight.verdict = ThoroughVerdict(sight.unit, spec);
    report(2);
    if (sight.verdict.found) sight.map = MapRegion(sight.unit, spec);
    report(kLongSteps);
    for (Step& step : ComparisonSteps(spec, sight.unit, sight.verdict)) {
      if (step.id == CodeOf(Reason::NoPlacement)) AddSecond(step, sight);
      e.steps.push_back(std::move(step));
    }
    e.reason = ReasonOf(sight.verdict.decidedBy);
    e.sight = std::move(sight);
  } catch (const cv::Exception& error) {
    return EndWith(e, {"evaluation-failed", "Comparison", "the comparison itself", StepOutcome::Vetoed,
                       ToUtf8(CauseOf(error)), Reason::EvaluationFailed});
  }
  if (e.IsHit()) AddDelivery(e);
  e.sentence = SentenceOf(e);
  if (!e.IsHit()) e.remedies = RemediesFor(e);
}

}  // namespace quillmark::explain
