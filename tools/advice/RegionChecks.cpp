#include <optional>
#include <string>

#include "advice/Checks.h"
#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "text/Numbers.h"
#include "text/Places.h"

namespace quillmark::advice {
namespace {

std::vector<Fact> SizeFacts(const cv::Size& region, const cv::Size& tmpl) {
  return {{"width", region.width},
          {"height", region.height},
          {"templateWidth", tmpl.width},
          {"templateHeight", tmpl.height}};
}

// False when nothing can be compared.
bool CheckPlace(const RegionOnFrame& place, const TemplateSpec& spec, FindingList& list) {
  const cv::Size& tmpl = place.tmplSize;
  if (IsEmpty(place.region)) {
    list.Add(FindingCode::RegionOutside, "no part of it is inside");
    return false;
  }
  const cv::Size left = ToCv(place.region).size();
  const std::string sizes = "region " + SizeText(left) + ", template " + SizeText(tmpl);
  if (!place.HoldsTemplate()) {
    list.Add(FindingCode::RegionTooSmall, sizes, SizeFacts(left, tmpl));
    return false;
  }
  const cv::Size whole =
      SizeOnDesktop(spec.roi.size(), EffectiveScale(spec.targetScaleX), EffectiveScale(spec.targetScaleY));
  if (left != whole) {
    list.Add(FindingCode::RegionCut, SizeText(left) + " remains of " + SizeText(whole),
             SizeFacts(left, tmpl));
  }
  if (left.width == tmpl.width || left.height == tmpl.height) {
    list.Add(FindingCode::RegionTight, sizes, SizeFacts(left, tmpl));
  }
  return true;
}

// The part of a region that a placement covers, as a region.
ROIUnit PartOf(const ROIUnit& unit, const cv::Rect& rect) {
  ROIUnit part = unit;
  for (cv::Mat* plane : {&part.gray, &part.bgr, &part.hsv, &part.sat, &part.hue}) {
    if (!plane->empty()) *plane = (*plane)(rect);
  }
  return part;
}

// `best` is an accepted verdict.
void CheckSecond(const ROIUnit& unit, const TemplateSpec& spec, const Verdict& best, FindingList& list) {
  const std::optional<SearchMap> map = MapRegion(unit, spec);
  if (!map || !map->second) return;
  const Placement& second = *map->second;
  if (second.dist > AcceptedDifference(best, spec)) return;
  const Probe probe = ProbeOn(PartOf(unit, cv::Rect(second.loc, spec.tmplGray.size())), spec);
  std::string text = "difference " + Digits(second.dist) + " at " + PointText(second.loc) +
                     " of the region, " + Digits(best.dist) + " at " + PointText(best.loc);
  std::vector<Fact> facts{{"difference", best.dist}, {"x", best.loc.x},
                          {"y", best.loc.y},         {"secondDifference", second.dist},
                          {"secondX", second.loc.x}, {"secondY", second.loc.y}};
  if (probe.verdict.Accepted()) {
    list.Add(FindingCode::SecondAccepted, std::move(text), std::move(facts));
    return;
  }
  const std::string refusal = RefusalText(probe, spec);
  facts.emplace_back("refusal", refusal);
  list.Add(FindingCode::SecondClose, text + "; rejected by " + refusal, std::move(facts));
}

void CheckOnWindow(const WindowPicture& window, const RegionOnFrame& place, const TemplateSpec& spec,
                   const explain::Progress& progress, FindingList& list) {
  ROIUnit unit = CutRegion(spec, place, window.bgra, {});
  progress(1);
  const Probe probe = ProbeOn(std::move(unit), spec);
  progress(2);
  if (!probe.verdict.Accepted()) {
    const std::string refusal = RefusalText(probe, spec);
    list.Add(FindingCode::NotOnPicture, "rejected by " + refusal, {{"refusal", refusal}});
    return;
  }
  CheckSecond(probe.unit, spec, probe.verdict, list);
}

}  // namespace

void CheckRegion(const Subject& subject, const WindowPicture* window, const explain::Progress& progress,
                 FindingList& list) {
  const bool hasRegion = subject.given.hasRegion;
  if (window == nullptr && !hasRegion) return;
  const TemplateSpec spec = window == nullptr
                                ? BoundTo({kAnySize, kAnySize}, subject.spec, 1.0, hasRegion)
                                : BoundTo(window->bgra.size(), subject.spec, window->scale, hasRegion);
  const RegionOnFrame place = PlaceRegion(spec, spec.targetRect);
  if (hasRegion ? !CheckPlace(place, spec, list) : !place.HoldsTemplate()) return;
  if (window != nullptr) CheckOnWindow(*window, place, spec, progress, list);
}

}  // namespace quillmark::advice
