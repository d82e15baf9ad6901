#include "core/Matcher.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <thread>
#include <utility>
#include <vector>

#include "core/ImageFigures.h"
#include "core/PrimarySearch.h"
#include "support/Images.h"
#include "support/NaiveMatcher.h"

namespace quillmark::testing {
namespace {

const cv::Size kSize(8, 6);

cv::Mat Uniform(int level, int type = CV_8U, cv::Size size = kSize) {
  return cv::Mat(size, type, cv::Scalar::all(level));
}

TEST(Matcher, CorrelatesGreyImages) {
  Random random(1);
  const cv::Mat image = Noise(random, kSize, CV_8U);
  EXPECT_EQ(NCC1x1_Gray(Uniform(7), Uniform(200)), 0.0);
  EXPECT_EQ(NCC1x1_Gray(image, image.colRange(0, 5)), -1.0);
  EXPECT_EQ(NCC1x1_Gray(image, cv::Mat()), -1.0);
  EXPECT_EQ(NCC1x1_Gray(cv::Mat(), cv::Mat()), -1.0);
  EXPECT_THROW((void)NCC1x1_Gray(Uniform(1, CV_8UC3), Uniform(1, CV_8UC3)), cv::Exception);
  EXPECT_THROW((void)Corr1x1_ZeroMean(Uniform(0, CV_32F), image.colRange(0, 5)), cv::Exception);
}

TEST(Matcher, CorrelationsAgreeWithDirectLoops) {
  for (std::uint32_t seed = 0; seed < 100; ++seed) {
    Random random(seed);
    const cv::Size size(random.Between(1, 40), random.Between(1, 30));
    const cv::Mat a = Noise(random, size, CV_8U), noise = Noise(random, size, CV_8U);
    cv::Mat b, aZm, bZm;
    cv::addWeighted(a, 0.5, noise, 0.5, 0.0, b);
    ToZeroMeanFloat(a, aZm);
    ToZeroMeanFloat(b, bZm);
    EXPECT_NEAR(NCC1x1_Gray(a, b), NaiveCorrelation(a, b), 1e-6) << "seed " << seed;
    EXPECT_NEAR(Corr1x1_ZeroMean(aZm, bZm), NaiveCorrelation(a, b), 1e-6) << "seed " << seed;
  }
}

TEST(Matcher, SearchesForTooLargeTemplatesFailAndLeaveTheirResults) {
  const cv::Mat grey = Uniform(9), colour = Uniform(9, CV_8UC3), none;
  const cv::Mat wide = Uniform(9, CV_8U, {9, 1}), high = Uniform(9, CV_8U, {1, 7});
  cv::Point loc(-7, -7);
  double score = -7.0;
  for (const auto& [image, tpl] : {std::pair{grey, none}, {grey, wide}, {grey, high}, {none, grey}}) {
    EXPECT_FALSE(MatchHueVec(image, tpl, loc, score));
    EXPECT_FALSE(MatchGraySqDiff(image, tpl, loc, score));
    EXPECT_FALSE(MatchSqDiffNormed(image, tpl, loc, score));
  }
  for (const cv::Mat& tpl : {none, wide, high}) EXPECT_FALSE(MatchHueSat(colour, tpl, tpl, 0.8, loc, score));
  EXPECT_EQ(loc, cv::Point(-7, -7));
  EXPECT_EQ(score, -7.0);
}

TEST(Matcher, GreySearchTakesColourImagesWithAndWithoutAlpha) {
  Random random(5);
  const cv::Mat bgr = Noise(random, {20, 15});
  cv::Mat bgra, grey;
  cv::cvtColor(bgr, bgra, cv::COLOR_BGR2BGRA);
  cv::cvtColor(bgr, grey, cv::COLOR_BGR2GRAY);
  const cv::Mat tpl = grey(cv::Rect(11, 6, 5, 4)).clone();
  for (const cv::Mat& image : {grey, bgr, bgra}) {
    cv::Point loc;
    double dist = 1.0;
    ASSERT_TRUE(MatchGraySqDiff(image, tpl, loc, dist));
    EXPECT_EQ(loc, cv::Point(11, 6));
    EXPECT_NEAR(dist, 0.0, 1e-5);
  }
}

TEST(Matcher, GreySearchNormalisesFromADeviationOf3Levels) {
  const struct {
    int left, right;  // levels of the template's halves
    double expected;
  } kCases[] = {
      {97, 102, (23.0 * 23.0 + 18.0 * 18.0) / 2.0 / (255.0 * 255.0)},  // a deviation of 2.5
      {97, 103,
       (23.0 * 23.0 + 17.0 * 17.0) / 2.0 / std::sqrt(120.0 * 120.0 * (97.0 * 97.0 + 103.0 * 103.0) / 2.0)},
  };
  for (const auto& c : kCases) {
    cv::Point loc;
    double dist = -1.0;
    ASSERT_TRUE(MatchGraySqDiff(Uniform(120), GreyColumns(c.left, c.right, kSize), loc, dist));
    EXPECT_NEAR(dist, c.expected, 1e-6) << c.left << ' ' << c.right;
  }
}

// The place and the score.
std::pair<cv::Point, double> SearchHueSat(const cv::Mat& saturation, const cv::Mat& hue,
                                          const cv::Mat& hueTpl, const cv::Mat& satTpl) {
  cv::Mat hsv;
  cv::merge(std::vector<cv::Mat>{hue, saturation, Uniform(200, CV_8U, hue.size())}, hsv);
  std::pair<cv::Point, double> found;
  EXPECT_TRUE(MatchHueSat(hsv, hueTpl, satTpl, 0.8, found.first, found.second));
  return found;
}

// In a uniform hue, the hue search takes the first place, the top-left corner.
TEST(Matcher, HueSaturationSearchSkipsNeighboursOutsideTheImage) {
  const cv::Mat hue = Uniform(40, CV_8U, {12, 9}), hueTpl = Uniform(40, CV_8U, {4, 3});
  Random random(6);
  const cv::Mat saturation = Noise(random, hue.size(), CV_8U);
  const auto found = SearchHueSat(saturation, hue, hueTpl, saturation(cv::Rect(1, 1, 4, 3)).clone());
  EXPECT_EQ(found.first, cv::Point(1, 1));
  EXPECT_NEAR(found.second, 1.0, 1e-5);

  const std::pair none(cv::Point(0, 0), -1.0);  // the place by hue
  EXPECT_EQ(SearchHueSat(saturation, hue, hueTpl, Uniform(40, CV_8U, {14, 3})), none);
}

TEST(Matcher, HueSaturationSearchKeepsTheFirstOfEqualNeighbours) {
  // One odd hue pins the hue search to (4, 3); a uniform saturation scores alike at all its neighbours.
  cv::Mat hue = Uniform(20, CV_8U, {12, 9}), hueTpl = Uniform(20, CV_8U, {4, 3});
  hue.at<unsigned char>(4, 5) = hueTpl.at<unsigned char>(1, 1) = 120;
  const cv::Mat saturation = Uniform(50, CV_8U, hue.size());
  EXPECT_EQ(SearchHueSat(saturation, hue, hueTpl, Uniform(50, CV_8U, {4, 3})).first, cv::Point(3, 2));
}

// Counts the bytes of all images.
class CountingAllocator : public cv::MatAllocator {
 public:
  cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                         cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
    cv::UMatData* const made =
        cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    made->prevAllocator = made->currAllocator = this;
    bytes += made->size;
    return made;
  }
  bool allocate(cv::UMatData* data, cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
    return cv::Mat::getStdAllocator()->allocate(data, flags, usage);
  }
  void deallocate(cv::UMatData* data) const override {
    bytes -= data->size;
    cv::Mat::getStdAllocator()->deallocate(data);
  }
  mutable std::atomic<std::size_t> bytes{0};
};

TEST(Searches, KeepNoLargeBuffersForTheirThread) {
  static CountingAllocator allocator;  // outlives every image
  const cv::Mat image(1800, 2400, CV_8UC3, cv::Scalar(60, 120, 180)), grey(1800, 2400, CV_8U, cv::Scalar(90));
  const cv::Mat tpl = GreyColumns(30, 200, {16, 16});
  cv::Mat tplBgr;
  cv::cvtColor(tpl, tplBgr, cv::COLOR_GRAY2BGR);
  std::size_t left[3];
  cv::Mat::setDefaultAllocator(&allocator);
  std::thread([&] {
    cv::Point loc;
    double score = 0.0;
    EXPECT_TRUE(MatchGraySqDiff(grey, tpl, loc, score));
    left[0] = allocator.bytes;
    EXPECT_TRUE(MatchSqDiffNormed(image, tplBgr, loc, score));
    left[1] = allocator.bytes;
    EXPECT_TRUE(MatchHueSat(image, tpl, tpl, 0.9, loc, score));
    left[2] = allocator.bytes;
  }).join();
  cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator());
  for (const std::size_t bytes : left) EXPECT_LE(bytes, 4u << 20);
}

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
      if (!IsHueMode(c.mode)) {
        EXPECT_EQ(map->best.dist, c.expected.at<double>(first));
      }
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
