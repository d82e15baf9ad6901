#include <optional>
#include <string>

#include "advice/Checks.h"
#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "text/Numbers.h"

namespace quillmark::advice {
namespace {

// As large as any client area may become.
constexpr std::int32_t kAnySize = 1 << 20;

std::string SizeText(int width, int height) {
  return std::to_string(width) + " x " + std::to_string(height);
}
std::string SizeText(const Rect& rect) {
  return SizeText(rect.right - rect.left, rect.bottom - rect.top);
}
std::string PointText(const cv::Point& point) {
  return std::to_string(point.x) + "," + std::to_string(point.y);
}

std::vector<Fact> SizeFacts(const Rect& region, const cv::Size& tmpl) {
  return {{"width", static_cast<double>(region.right - region.left)},
          {"height", static_cast<double>(region.bottom - region.top)},
          {"templateWidth", static_cast<double>(tmpl.width)},
          {"templateHeight", static_cast<double>(tmpl.height)}};
}

// False when nothing can be compared.
bool CheckPlace(const RegionOnFrame& place, const TemplateSpec& spec, FindingList& list) {
  const cv::Size& tmpl = place.tmplSize;
  if (IsEmpty(place.region)) {
    list.Add(FindingCode::RegionOutside, "nothing of it lies inside");
    return false;
  }
  const std::string sizes =
      "region " + SizeText(place.region) + ", template " + SizeText(tmpl.width, tmpl.height);
  if (!place.HoldsTemplate()) {
    list.Add(FindingCode::RegionTooSmall, sizes, SizeFacts(place.region, tmpl));
    return false;
  }
  const cv::Size whole =
      SizeOnDesktop(spec.roi.size(), EffectiveScale(spec.targetScaleX), EffectiveScale(spec.targetScaleY));
  const cv::Size left(place.region.right - place.region.left, place.region.bottom - place.region.top);
  if (left != whole) {
    list.Add(FindingCode::RegionCut,
             SizeText(place.region) + " is left of " + SizeText(whole.width, whole.height),
             SizeFacts(place.region, tmpl));
  }
  if (left.width == tmpl.width || left.height == tmpl.height) {
    list.Add(FindingCode::RegionTight, sizes, SizeFacts(place.region, tmpl));
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
  const cv::Point first = best.loc;
  std::string text = "difference " + Digits(second.dist) + " at " + PointText(second.loc) +
                     " of the region, " + Digits(best.dist) + " at " + PointText(first);
  std::vector<Fact> facts{{"difference", best.dist},
                          {"x", static_cast<double>(first.x)},
                          {"y", static_cast<double>(first.y)},
                          {"secondDifference", second.dist},
                          {"secondX", static_cast<double>(second.loc.x)},
                          {"secondY", static_cast<double>(second.loc.y)}};
  if (probe.verdict.Accepted()) {
    list.Add(FindingCode::SecondAccepted, std::move(text), std::move(facts));
    return;
  }
  const std::string refusal = RefusalText(probe, spec);
  facts.emplace_back("refusal", refusal);
  list.Add(FindingCode::SecondClose, text + "; rejected by " + refusal, std::move(facts));
}

void CheckSight(const WindowPicture& window, const RegionOnFrame& place, const TemplateSpec& spec,
                const explain::Progress& progress, FindingList& list) {
  FrameImages images;
  ConvertFrame(window.bgra, NeedsHsv(spec), images);
  progress(1);
  const Probe probe = ProbeOn(CutRegion(spec, place, images, {}), spec);
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
  TemplateSpec spec = subject.spec;
  spec.targetRect = {0, 0, kAnySize, kAnySize};
  if (window != nullptr) {
    spec.targetRect = {0, 0, window->bgra.cols, window->bgra.rows};
    spec.targetScaleX = spec.targetScaleY = window->scale;
    if (!subject.given.hasRegion) spec.roi = cv::Rect(0, 0, kAnySize, kAnySize);
  }
  if (window == nullptr && !subject.given.hasRegion) return;
  const RegionOnFrame place = PlaceRegion(spec, spec.targetRect);
  if (subject.given.hasRegion) {
    if (!CheckPlace(place, spec, list)) return;
  } else if (!place.HoldsTemplate()) {
    return;
  }
  if (window != nullptr) CheckSight(*window, place, spec, progress, list);
}

}  // namespace quillmark::advice
