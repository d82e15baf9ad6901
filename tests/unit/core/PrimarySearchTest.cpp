#include "core/PrimarySearch.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "support/Images.h"
#include "support/NaiveMatcher.h"

namespace quillmark::testing {
namespace {

constexpr MatchMode kModes[] = {MatchMode::Gray, MatchMode::Bgr, MatchMode::S, MatchMode::H, MatchMode::HS};

// An icon on a screen, whole at one place and disturbed at another.
struct Twins {
  cv::Point best{12, 9}, second{70, 40};
  ROIUnit unit;
  cv::Mat icon;

  explicit Twins(std::uint32_t seed) {
    Random random(seed);
    icon = Icon(random, {24, 18}, "Q");
    cv::Mat screen(cv::Size(120, 80), CV_8UC3, cv::Scalar(90, 160, 110));
    Plant(screen, icon, best);
    Plant(screen, WithNoise(random, icon, 12), second);
    unit = UnitShowing(screen);
  }
};

TEST(PrimarySearch, MapShowsTheBestPlacementOfTheSearchAndTheNextOneElsewhere) {
  for (const MatchMode mode : kModes) {
    const Twins twins(3);
    const TemplateSpec spec = PreparedSpec(twins.icon, mode);
    const auto alone = SearchRegion(twins.unit, spec);
    const auto map = MapRegion(twins.unit, spec);
    ASSERT_TRUE(alone && map && map->second) << static_cast<int>(mode);
    EXPECT_EQ(map->best.loc, alone->loc);
    EXPECT_EQ(map->best.dist, alone->dist);
    EXPECT_EQ(map->best.loc, twins.best) << static_cast<int>(mode);
    EXPECT_EQ(map->second->loc, twins.second) << static_cast<int>(mode);
    EXPECT_GT(map->second->dist, map->best.dist) << static_cast<int>(mode);
    EXPECT_EQ(map->difference.size(), cv::Size(120 - 24 + 1, 80 - 18 + 1));
    double least = 1.0;
    cv::Point at;
    cv::minMaxLoc(map->difference, &least, nullptr, &at);
    EXPECT_EQ(at, map->best.loc) << static_cast<int>(mode);
    if (mode == MatchMode::HS) continue;
    EXPECT_NEAR(least, map->best.dist, 1e-6) << static_cast<int>(mode);
  }
}

TEST(PrimarySearch, MapHoldsEveryPlacementsDifference) {
  for (std::uint32_t seed = 0; seed < 10; ++seed) {
    Random random(seed);
    const cv::Mat image = Noise(random, {random.Between(10, 30), random.Between(10, 20)});
    const cv::Mat tmpl = Noise(random, {random.Between(2, 10), random.Between(2, 10)});
    const cv::Mat flat(5, 4, CV_8UC3, cv::Scalar(40, 80, 200));
    const ROIUnit unit = UnitShowing(image);
    const struct {
      TemplateSpec spec;
      ScoreMap expected;
      bool similarity;
    } cases[] = {
        {PreparedSpec(tmpl), NaiveGraySqDiff(unit.gray, PreparedSpec(tmpl).tmplGray), false},
        {PreparedSpec(flat), NaiveGraySqDiff(unit.gray, PreparedSpec(flat).tmplGray), false},
        {PreparedSpec(tmpl, MatchMode::Bgr), NaiveSqDiffNormed(image, tmpl), false},
        {PreparedSpec(tmpl, MatchMode::S), NaiveSqDiffNormed(unit.sat, PreparedSpec(tmpl).tmplSat), false},
        {PreparedSpec(tmpl, MatchMode::H), NaiveHueVec(unit.hue, PreparedSpec(tmpl).tmplHue), true},
        {PreparedSpec(tmpl, MatchMode::HS), NaiveHueVec(unit.hue, PreparedSpec(tmpl).tmplHue), true},
    };
    for (const auto& c : cases) {
      const auto map = MapRegion(unit, c.spec);
      ASSERT_TRUE(map && map->difference.size() == c.expected.Size());
      for (int y = 0; y < map->difference.rows; ++y) {
        for (int x = 0; x < map->difference.cols; ++x) {
          const double score = c.expected.At({x, y});
          ASSERT_NEAR(map->difference.at<float>(y, x), c.similarity ? 1.0 - score : score, 2e-5)
              << "seed " << seed << ", mode " << static_cast<int>(c.spec.mode) << " at " << x << ',' << y;
        }
      }
    }
  }
}

// The hue is the template's, the saturation its opposite: a hue weight of w leaves a difference of 2 - 2 w.
TEST(PrimarySearch, WeighsHueMoreForRedSpecs) {
  Random random(8);
  const cv::Mat icon = Icon(random, {24, 18}, "Q");
  TemplateSpec spec = PreparedSpec(icon, MatchMode::HS);
  ROIUnit unit = UnitShowing(icon);
  cv::insertChannel(Inverted(unit.sat), unit.hsv, 1);
  for (const auto& [redHint, expected] : {std::pair{false, 0.4}, {true, 0.2}}) {
    spec.redHint = redHint;
    const auto best = SearchRegion(unit, spec);
    ASSERT_TRUE(best);
    EXPECT_NEAR(best->dist, expected, 1e-5) << redHint;
  }
}

TEST(PrimarySearch, SecondPlacementIsHalfATemplateAwayAtLeast) {
  const cv::Mat flat(cv::Size(9, 6), CV_8UC3, cv::Scalar::all(80));
  const struct {
    cv::Size region;
    bool second;
  } kCases[] = {{{9, 6}, false}, {{13, 8}, false}, {{14, 8}, true}, {{13, 9}, true}};
  for (const auto& c : kCases) {
    const auto map =
        MapRegion(UnitShowing(cv::Mat(c.region, CV_8UC3, cv::Scalar::all(80))), PreparedSpec(flat));
    ASSERT_TRUE(map);
    EXPECT_EQ(map->second.has_value(), c.second) << c.region;
  }
  EXPECT_FALSE(MapRegion(UnitShowing(cv::Mat(5, 9, CV_8UC3, cv::Scalar::all(80))), PreparedSpec(flat)));
}

}  // namespace
}  // namespace quillmark::testing
