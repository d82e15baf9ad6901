#include "core/PrimarySearch.h"

#include <algorithm>
#include <utility>

#include "core/Matcher.h"

namespace quillmark {
namespace {

double HueWeight(const TemplateSpec& spec) {
  return spec.redHint ? 0.9 : 0.8;
}

// `map` gets similarities in the hue modes and differences in the others.
std::optional<Placement> Search(const ROIUnit& unit, const TemplateSpec& spec, const KnownPlacements& known,
                                cv::Mat* map) {
  Placement best;
  bool found = false;
  const SearchAids aids{spec.spectra.get(), known};
  switch (spec.mode) {
    case MatchMode::Bgr:
      found = MatchSqDiffNormed(unit.bgr, spec.tmplBgr, best.loc, best.dist, map, aids);
      break;
    case MatchMode::S:
      found = MatchSqDiffNormed(unit.sat, spec.tmplSat, best.loc, best.dist, map, aids);
      break;
    case MatchMode::H:
      found = MatchHueVec(unit.hue, spec.tmplHue, best.loc, best.dist, map, aids);
      break;
    case MatchMode::HS:
      found =
          MatchHueSat(unit.hsv, spec.tmplHue, spec.tmplSat, HueWeight(spec), best.loc, best.dist, map, aids);
      break;
    case MatchMode::Gray:
    default:
      found = MatchGraySqDiff(unit.gray, spec.tmplGray, best.loc, best.dist, map, aids);
      break;
  }
  if (!found) return std::nullopt;
  if (IsHueMode(spec.mode)) best.dist = 1.0 - best.dist;
  return best;
}

// All placements but those that overlap `best` by more than half.
cv::Mat ElsewhereThan(const Placement& best, cv::Size tmpl, cv::Size placements) {
  cv::Mat elsewhere(placements, CV_8U, cv::Scalar(255));
  const cv::Size reach((tmpl.width + 1) / 2 - 1, (tmpl.height + 1) / 2 - 1);
  const cv::Rect around(best.loc.x - reach.width, best.loc.y - reach.height, 2 * reach.width + 1,
                        2 * reach.height + 1);
  elsewhere(around & cv::Rect(cv::Point(), placements)).setTo(0);
  return elsewhere;
}

std::optional<Placement> SecondBest(const ROIUnit& unit, const TemplateSpec& spec, const cv::Mat& map,
                                    const cv::Mat& elsewhere) {
  if (cv::countNonZero(elsewhere) == 0) return std::nullopt;
  Placement second;
  if (!IsHueMode(spec.mode)) {
    cv::minMaxLoc(map, &second.dist, nullptr, &second.loc, nullptr, elsewhere);
    return second;
  }
  double score = 0.0;
  cv::minMaxLoc(map, nullptr, &score, nullptr, &second.loc, elsewhere);
  if (spec.mode == MatchMode::HS) {
    cv::Mat sat;
    cv::extractChannel(unit.hsv, sat, 1);
    RefineOnSaturation(sat, spec.tmplSat, HueWeight(spec), second.loc, score);
  }
  second.dist = 1.0 - score;
  return second;
}

}  // namespace

bool HasInputs(const ROIUnit& unit, const TemplateSpec& spec) {
  switch (spec.mode) {
    case MatchMode::Gray:
    case MatchMode::Bgr:
    case MatchMode::S:
      return !unit.gray.empty() && !spec.tmplGray.empty();
    case MatchMode::H:
    case MatchMode::HS:
      return !unit.hsv.empty() && !spec.tmplHue.empty();
  }
  return true;
}

std::optional<Placement> SearchRegion(const ROIUnit& unit, const TemplateSpec& spec,
                                      const KnownPlacements& known) {
  if (known.map == nullptr) return Search(unit, spec, {}, nullptr);
  // Stays empty unless the search fills it: the next one must not trust a map that missed a change.
  PlacementMap map = std::exchange(*known.map, PlacementMap());
  if (IsHueMode(spec.mode)) map = PlacementMap();
  const std::optional<Placement> best = Search(unit, spec, {&map, known.changed}, nullptr);
  if (best) *known.map = std::move(map);
  return best;
}

std::optional<SearchMap> MapRegion(const ROIUnit& unit, const TemplateSpec& spec) {
  SearchMap result;
  cv::Mat& map = result.difference;
  const std::optional<Placement> best = Search(unit, spec, {}, &map);
  if (!best) return std::nullopt;
  result.best = *best;
  result.second = SecondBest(unit, spec, map, ElsewhereThan(*best, spec.tmplGray.size(), map.size()));
  if (IsHueMode(spec.mode)) cv::subtract(cv::Scalar(1.0), map, map);
  return result;
}

}  // namespace quillmark
