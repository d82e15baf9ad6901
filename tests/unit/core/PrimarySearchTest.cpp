#include "core/PrimarySearch.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "support/Images.h"
#include "support/NaiveMatcher.h"

namespace quillmark::testing {
namespace {

TEST(PrimarySearch, MapHasTheBestPlacementAndTheSecondBestElsewhere) {
  const cv::Point whole(12, 9), disturbed(70, 40);
  Random random(3);
  const cv::Mat icon = Icon(random, {24, 18}, "Q");
  cv::Mat screen(80, 120, CV_8UC3, cv::Scalar(90, 160, 110));
  Plant(screen, icon, whole);
  Plant(screen, WithNoise(random, icon, 12), disturbed);
  const ROIUnit unit = UnitShowing(screen);
  for (const MatchMode mode : {MatchMode::Gray, MatchMode::Bgr, MatchMode::S, MatchMode::H, MatchMode::HS}) {
    SCOPED_TRACE(static_cast<int>(mode));
    const TemplateSpec spec = PreparedSpec(icon, mode);
    const auto alone = SearchRegion(unit, spec);
    const auto map = MapRegion(unit, spec);
    ASSERT_TRUE(alone && map && map->second);
    EXPECT_EQ(map->best.loc, whole);
    EXPECT_EQ(alone->loc, whole);
    EXPECT_EQ(map->best.dist, alone->dist);
    EXPECT_EQ(map->second->loc, disturbed);
    EXPECT_GT(map->second->dist, map->best.dist);
  }
}

TEST(PrimarySearch, DifferencesAgreeWithDirectLoopsEverywhere) {
  for (std::uint32_t seed = 0; seed < 40; ++seed) {
    Random random(seed);
    const cv::Mat image = Noise(random, {random.Between(10, 30), random.Between(10, 20)});
    const cv::Size size(random.Between(2, 10), random.Between(2, 10));
    const cv::Point at(random.Between(0, image.cols - size.width),
                       random.Between(0, image.rows - size.height));
    const TemplateSpec tmpl =
        PreparedSpec(WithNoise(random, image(cv::Rect(at, size)), random.Between(0, 20)));
    const TemplateSpec flat = PreparedSpec(cv::Mat(5, 4, CV_8UC3, cv::Scalar(40, 80, 200)));
    const ROIUnit unit = UnitShowing(image);
    const struct {
      MatchMode mode;
      const TemplateSpec& spec;
      cv::Mat expected;
    } cases[] = {
        {MatchMode::Gray, tmpl, NaiveGraySqDiff(unit.gray, tmpl.tmplGray)},
        {MatchMode::Gray, flat, NaiveGraySqDiff(unit.gray, flat.tmplGray)},
        {MatchMode::Bgr, tmpl, NaiveSqDiffNormed(image, tmpl.tmplBgr)},
        {MatchMode::S, tmpl, NaiveSqDiffNormed(unit.sat, tmpl.tmplSat)},
        {MatchMode::H, tmpl, NaiveHueVec(unit.hue, tmpl.tmplHue)},
        {MatchMode::HS, tmpl, NaiveHueVec(unit.hue, tmpl.tmplHue)},
    };
    for (const auto& c : cases) {
      SCOPED_TRACE(::testing::Message() << "seed " << seed << ", mode " << static_cast<int>(c.mode));
      TemplateSpec spec = c.spec;
      spec.mode = c.mode;
      const auto map = MapRegion(unit, spec);
      ASSERT_TRUE(map && map->difference.size() == c.expected.size());
      cv::Mat difference;
      map->difference.convertTo(difference, CV_64F);
      EXPECT_LE(cv::norm(difference, c.expected, cv::NORM_INF), 2e-5);
      if (c.mode == MatchMode::HS) continue;  // refined by saturation
      cv::Point first;
      cv::minMaxLoc(c.expected, nullptr, nullptr, &first);
      EXPECT_EQ(map->best.loc, first);
      EXPECT_NEAR(map->best.dist, map->difference.at<float>(first), 1e-6);
    }
  }
}

// With the template's hue and the opposite saturation, a hue weight of w leaves a difference of 2 - 2 w.
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

TEST(PrimarySearch, SecondPlacementIsAtLeastHalfATemplateAway) {
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
