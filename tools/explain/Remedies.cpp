#include "explain/Remedies.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "explain/Reports.h"
#include "specs/SpecOptions.h"
#include "specs/SpecStore.h"
#include "text/Numbers.h"
#include "text/Places.h"

namespace quillmark::explain {
namespace {

// Space around a place in a proposed region, in logical pixels.
constexpr int kMargin = 10;

// To two decimals.
double RoundedUp(double value) {
  return std::ceil(value * 100.0) / 100.0;
}
double RoundedDown(double value) {
  return std::floor(value * 100.0) / 100.0;
}

// A number after passing through the command's single-precision field.
double OnTheWire(double value) {
  return static_cast<float>(value);
}

class Trials {
 public:
  explicit Trials(const Explanation& explanation)
      : e(explanation), v(explanation.sight->verdict), picture(explanation.sight->picture) {
    unit = CutRegion(e.spec, e.sight->place, picture.bgra, picture.origin, true);
  }

  std::vector<Remedy> Run() {
    TryRegion();
    TryLimits();
    TryWithoutRed();
    TryModes();
    return std::move(remedies);
  }

 private:
  // The verdict of a hit.
  [[nodiscard]] static std::optional<Verdict> Hit(const ROIUnit& region, const TemplateSpec& spec) {
    try {
      Verdict verdict = EvaluateRegion(region, spec);
      if (verdict.Accepted()) return verdict;
    } catch (const cv::Exception&) {
      // Not worth proposing.
    }
    return std::nullopt;
  }

  // The spec's limits, moved just far enough.
  void TryLimits() {
    TemplateSpec spec = e.spec;
    std::string change;
    const auto add = [&](const std::string& one) { change += (change.empty() ? "" : " and ") + one; };
    if (v.difference.Vetoes()) {
      spec.maxDiff = RoundedUp(v.dist);
      if (spec.maxDiff >= 1.0) return;
      add("sq=" + Digits(spec.maxDiff, 2));
    }
    if (v.minScore.Vetoes()) {
      const double score = RoundedDown(1.0 - v.dist);
      spec.minScore = score > 0.5 ? OnTheWire(score) : 0.0;
      add(score > 0.5 ? "--threshold " + Digits(score, 2) : "no --threshold above 0.5");
    }
    if (v.edgeCorrelation.Vetoes()) {
      const double edgeMin = RoundedDown(v.edgeCorrelation.figure);
      spec.edgeMin = OnTheWire(edgeMin);
      add("--edge-min " + Digits(edgeMin, 2));
    }
    if (change.empty() || !Hit(unit, spec)) return;
    const std::optional<Placement>& second = e.sight->map->second;
    const bool loose = second && second->dist <= spec.maxDiff && 1.0 - second->dist >= spec.minScore;
    remedies.push_back({change, loose ? "But the next best place, with a difference of " +
                                            Digits(second->dist) +
                                            ", is then within the limits too and may be reported instead."
                                      : "The spec's limits, moved just far enough for this screenshot."});
  }

  // Searches the whole client area: the region may miss the place.
  void TryRegion() {
    TemplateSpec spec = e.spec;
    const double sx = EffectiveScale(spec.targetScaleX), sy = EffectiveScale(spec.targetScaleY);
    const Rect& target = spec.targetRect;
    spec.roi = cv::Rect(0, 0, static_cast<int>(std::ceil((target.right - target.left) / sx)),
                        static_cast<int>(std::ceil((target.bottom - target.top) / sy)));
    const std::optional<ROIUnit> whole = Cut(spec);
    if (!whole) return;
    const std::optional<Verdict> found = Hit(*whole, spec);
    if (!found) return;

    const int left = static_cast<int>((whole->x - target.left) / sx) + found->loc.x;
    const int top = static_cast<int>((whole->y - target.top) / sy) + found->loc.y;
    spec.roi = cv::Rect(cv::Point(std::max(left - kMargin, 0), std::max(top - kMargin, 0)),
                        cv::Point(left + found->tw + kMargin, top + found->th + kMargin));
    const std::optional<ROIUnit> around = Cut(spec);
    if (!around || !Hit(*around, spec)) return;
    remedies.push_back({"--roi " + PointText(spec.roi.tl()) + "," + PointText(cv::Point(spec.roi.size())),
                        "The region misses it: the template is at " + PointText({left, top}) +
                            " of the client area, difference " + Digits(found->dist) + "."});
  }

  // The region of another spec on the same screenshot; none when it cannot be evaluated.
  [[nodiscard]] std::optional<ROIUnit> Cut(const TemplateSpec& spec) const {
    const RegionOnFrame place = PlaceRegion(spec, picture.Area());
    if (place.OffFrame() || !place.HoldsTemplate()) return std::nullopt;
    return CutRegion(spec, place, picture.bgra, picture.origin, true);
  }

  void TryWithoutRed() {
    if (!e.spec.redHint) return;
    std::wstring name = e.request.name;
    for (std::size_t i = 0; i + 3 <= name.size(); ++i) {
      const auto is = [&](std::size_t at, wchar_t small) { return (name[at] | 0x20) == small; };
      if (is(i, L'r') && is(i + 1, L'e') && is(i + 2, L'd')) name[i + 1] = L'-';
    }
    TemplateSpec plain = SpecOfCommand({}, name, {}, 0, 0, 1, 1, e.request.edgeMin, e.request.threshold);
    ApplyNameOptions(plain);
    TemplateSpec spec = e.spec;
    spec.redHint = plain.redHint;
    spec.colorGate = plain.colorGate;
    spec.chromaChannel = plain.chromaChannel;
    if (!Hit(unit, spec)) return;
    remedies.push_back(
        {"a name without 'red'", "Any 'red' in the name, even inside a word, makes the spec red."});
  }

  void TryModes() {
    using enum MatchMode;
    for (const MatchMode mode : {Gray, Bgr, S, HS, H}) {
      TemplateSpec spec = e.spec;
      spec.mode = mode;
      if (mode == e.spec.mode || !Hit(unit, spec)) continue;
      remedies.push_back({"mode=" + WordOf(mode),
                          IsHueMode(mode) ? "A loose mode: only the difference in hue decides, and large "
                                            "differences are accepted."
                                          : "In this mode it is a hit."});
    }
  }

  const Explanation& e;
  const Verdict& v;
  const Picture& picture;
  ROIUnit unit;
  std::vector<Remedy> remedies;
};

}  // namespace

std::vector<Remedy> RemediesFor(const Explanation& explanation) {
  return Trials(explanation).Run();
}

}  // namespace quillmark::explain
