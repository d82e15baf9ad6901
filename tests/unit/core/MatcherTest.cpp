#include "core/Matcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <thread>
#include <vector>

#include "core/ZeroMean.h"
#include "support/Images.h"
#include "support/NaiveMatcher.h"

namespace quillmark::testing {
namespace {

const cv::Size kSize(8, 6);

cv::Mat Uniform(int level, int type = CV_8U, cv::Size size = kSize) {
  return cv::Mat(size, type, cv::Scalar::all(level));
}

cv::Mat Columns(cv::Size size, int left, int right) {
  cv::Mat image(size, CV_8U, cv::Scalar(left));
  image.colRange(size.width / 2, size.width).setTo(right);
  return image;
}

// An HSV image: value 200 everywhere.
cv::Mat Hsv(const cv::Mat& hue, const cv::Mat& saturation) {
  cv::Mat hsv;
  cv::merge(std::vector<cv::Mat>{hue, saturation, Uniform(200, CV_8U, hue.size())}, hsv);
  return hsv;
}

void ExpectAssertion(const std::function<void()>& call, const std::string& condition,
                     const std::string& function) {
  try {
    call();
    FAIL() << "no exception for " << condition;
  } catch (const cv::Exception& e) {
    EXPECT_EQ(e.code, cv::Error::StsAssert);
    EXPECT_EQ(e.err, condition);
    EXPECT_EQ(e.func, function);
    EXPECT_THAT(e.file, ::testing::HasSubstr("src/core/Matcher"));
  }
}

TEST(Matcher, CorrelatesGreyImagesFromOppositeToEqual) {
  Random random(1);
  const cv::Mat image = Noise(random, kSize, CV_8U);
  EXPECT_NEAR(NCC1x1_Gray(image, image), 1.0, 1e-6);
  EXPECT_NEAR(NCC1x1_Gray(image, Inverted(image)), -1.0, 1e-6);
  EXPECT_EQ(NCC1x1_Gray(Uniform(7), Uniform(200)), 0.0);
  EXPECT_EQ(NCC1x1_Gray(image, image.colRange(0, 5)), -1.0);
  EXPECT_EQ(NCC1x1_Gray(image, cv::Mat()), -1.0);
  EXPECT_EQ(NCC1x1_Gray(cv::Mat(), cv::Mat()), -1.0);
  EXPECT_EQ(NCC1x1_Gray(Uniform(1, CV_8UC3), image.colRange(0, 5)), -1.0)
      << "sizes are compared before types";
}

TEST(Matcher, RaisesTheConditionThatImagesOfWrongTypeOrSizeBreak) {
  const cv::Mat grey = Uniform(1), colour = Uniform(1, CV_8UC3), real = Uniform(0, CV_32F);
  cv::Mat cosines, sines;
  ExpectAssertion([&] { (void)NCC1x1_Gray(colour, colour); }, "a8u.type() == CV_8U && b8u.type() == CV_8U",
                  "NCC1x1_Gray");
  ExpectAssertion([&] { (void)Corr1x1_ZeroMean(grey, real.colRange(0, 5)); },
                  "x32f_zm.type() == CV_32F && t32f_zm.type() == CV_32F", "Corr1x1_ZeroMean");
  ExpectAssertion([&] { (void)Corr1x1_ZeroMean(real, real.colRange(0, 5)); },
                  "x32f_zm.size() == t32f_zm.size()", "Corr1x1_ZeroMean");
  ExpectAssertion([&] { HueToVec2(colour, cosines, sines); }, "H8u.type() == CV_8U", "HueToVec2");
  EXPECT_TRUE(cosines.empty() && sines.empty());
}

TEST(Matcher, CorrelationsAgreeWithDoublePrecision) {
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

TEST(Matcher, TurnsAHueUnitByOneDegree) {
  const cv::Mat hues = (cv::Mat_<unsigned char>(1, 3) << 0, 90, 179);
  cv::Mat cosines, sines;
  HueToVec2(hues, cosines, sines);
  const float expected[3][2] = {{1.0f, 0.0f}, {0.0f, 1.0f}, {-0.99984770f, 0.01745241f}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(cosines.at<float>(0, i), expected[i][0], 1e-6f) << i;
    EXPECT_NEAR(sines.at<float>(0, i), expected[i][1], 1e-6f) << i;
  }
}

TEST(Matcher, SearchesAgreeWithDoublePrecisionEverywhereInNoise) {
  for (std::uint32_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const cv::Mat image = Noise(random, {random.Between(8, 40), random.Between(8, 30)});
    const cv::Size size(random.Between(2, image.cols), random.Between(2, image.rows));
    const cv::Point at(random.Between(0, image.cols - size.width),
                       random.Between(0, image.rows - size.height));
    const cv::Mat tpl = WithNoise(random, image(cv::Rect(at, size)), random.Between(0, 20));
    cv::Mat grey, greyTpl, hsv, hsvTpl, hue, hueTpl;
    cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
    cv::cvtColor(tpl, greyTpl, cv::COLOR_BGR2GRAY);
    cv::cvtColor(image, hsv, cv::COLOR_BGR2HSV);
    cv::cvtColor(tpl, hsvTpl, cv::COLOR_BGR2HSV);
    cv::extractChannel(hsv, hue, 0);
    cv::extractChannel(hsvTpl, hueTpl, 0);

    cv::Point loc;
    double score = 0.0;
    ASSERT_TRUE(MatchSqDiffNormed(image, tpl, loc, score));
    EXPECT_NEAR(score, NaiveSqDiffNormed(image, tpl).At(loc), 1e-5);
    EXPECT_EQ(loc, NaiveSqDiffNormed(image, tpl).First(false));
    ASSERT_TRUE(MatchGraySqDiff(grey, greyTpl, loc, score));
    EXPECT_NEAR(score, NaiveGraySqDiff(grey, greyTpl).At(loc), 1e-5);
    EXPECT_EQ(loc, NaiveGraySqDiff(grey, greyTpl).First(false));
    ASSERT_TRUE(MatchHueVec(hue, hueTpl, loc, score));
    EXPECT_NEAR(score, NaiveHueVec(hue, hueTpl).At(loc), 1e-5);
    EXPECT_EQ(loc, NaiveHueVec(hue, hueTpl).First(true));
  }
}

TEST(Matcher, EverySearchRefusesWhatTheImageCannotHoldAndTouchesNoResult) {
  const cv::Mat grey = Uniform(9), colour = Uniform(9, CV_8UC3), none;
  const cv::Mat wide = Uniform(9, CV_8U, {9, 1}), high = Uniform(9, CV_8U, {1, 7});
  cv::Point loc(-7, -7);
  double score = -7.0;
  for (const cv::Mat& tpl : {none, wide, high}) {
    EXPECT_FALSE(MatchHueVec(grey, tpl, loc, score));
    EXPECT_FALSE(MatchHueSat(colour, tpl, tpl, 0.8, loc, score));
    EXPECT_FALSE(MatchGraySqDiff(grey, tpl, loc, score));
    EXPECT_FALSE(MatchSqDiffNormed(grey, tpl, loc, score));
  }
  EXPECT_FALSE(MatchHueVec(none, grey, loc, score));
  EXPECT_FALSE(MatchGraySqDiff(none, grey, loc, score));
  EXPECT_FALSE(MatchSqDiffNormed(none, grey, loc, score));
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

TEST(Matcher, GreySearchNormalisesFromAStandardDeviationOf3Levels) {
  const struct {
    const char* what;
    int left, right;  // levels of the template's halves
    double expected;
  } kCases[] = {
      {"uniform: mean squared difference over 255^2", 100, 100, 20.0 * 20.0 / (255.0 * 255.0)},
      {"deviation 2.5: the same", 97, 102, (23.0 * 23.0 + 18.0 * 18.0) / 2.0 / (255.0 * 255.0)},
      {"deviation exactly 3: normalised", 97, 103,
       (23.0 * 23.0 + 17.0 * 17.0) / 2.0 / std::sqrt(120.0 * 120.0 * (97.0 * 97.0 + 103.0 * 103.0) / 2.0)},
  };
  for (const auto& c : kCases) {
    cv::Point loc;
    double dist = -1.0;
    ASSERT_TRUE(MatchGraySqDiff(Uniform(120), Columns(kSize, c.left, c.right), loc, dist));
    EXPECT_NEAR(dist, c.expected, 1e-6) << c.what;
  }
}

// A uniform hue scores alike everywhere, so the hue search reports the first place, the top-left corner.
TEST(Matcher, HueSaturationSearchSkipsNeighboursOutsideTheImage) {
  const cv::Mat hue = Uniform(40, CV_8U, {12, 9});
  Random random(6);
  const cv::Mat saturation = Noise(random, hue.size(), CV_8U);
  cv::Point loc;
  double score = 0.0;
  ASSERT_TRUE(MatchHueVec(hue, Uniform(40, CV_8U, {4, 3}), loc, score));
  ASSERT_EQ(loc, cv::Point(0, 0));
  ASSERT_TRUE(MatchHueSat(Hsv(hue, saturation), Uniform(40, CV_8U, {4, 3}),
                          saturation(cv::Rect(1, 1, 4, 3)).clone(), 0.8, loc, score));
  EXPECT_EQ(loc, cv::Point(1, 1));
  EXPECT_NEAR(score, 1.0, 1e-5);
}

TEST(Matcher, HueSaturationSearchKeepsTheFirstOfEqualNeighbours) {
  // One odd hue pins the hue search to (4, 3); a uniform saturation scores alike at all its neighbours.
  cv::Mat hue = Uniform(20, CV_8U, {12, 9}), hueTpl = Uniform(20, CV_8U, {4, 3});
  hue.at<unsigned char>(4, 5) = hueTpl.at<unsigned char>(1, 1) = 120;
  cv::Point loc;
  double score = 0.0;
  ASSERT_TRUE(MatchHueSat(Hsv(hue, Uniform(50, CV_8U, hue.size())), hueTpl, Uniform(50, CV_8U, {4, 3}), 0.8,
                          loc, score));
  EXPECT_EQ(loc, cv::Point(3, 2));
}

TEST(Matcher, HueSaturationSearchWithoutAFittingNeighbourReportsTheHuePlaceAtTheLowestScore) {
  const cv::Mat hue = Uniform(40, CV_8U, {5, 4});
  cv::Point loc(9, 9);
  double score = 0.0;
  ASSERT_TRUE(
      MatchHueSat(Hsv(hue, hue), Uniform(40, CV_8U, {4, 3}), Uniform(40, CV_8U, {6, 3}), 0.8, loc, score));
  EXPECT_EQ(loc, cv::Point(0, 0));
  EXPECT_EQ(score, -1.0);
}

TEST(Matcher, HueSaturationSearchBlendsByItsWeight) {
  const cv::Mat hue = Uniform(40, CV_8U, {4, 3});
  Random random(7);
  const cv::Mat saturation = Noise(random, hue.size(), CV_8U);
  for (const double weight : {0.0, 0.8, 0.9, 1.0}) {
    cv::Point loc;
    double score = 0.0;
    ASSERT_TRUE(MatchHueSat(Hsv(hue, saturation), hue, Inverted(saturation), weight, loc, score));
    EXPECT_NEAR(score, weight - (1.0 - weight), 1e-5) << weight;
  }
}

// Counts the bytes of the images that exist.
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
  constexpr std::size_t Large = std::size_t{128} << 10;
  const struct {
    cv::Size size;
    bool kept;
  } cases[] = {{{320, 200}, true}, {{2400, 1800}, false}};
  for (const auto& c : cases) {
    const cv::Mat image(c.size, CV_8UC3, cv::Scalar(60, 120, 180)), grey(c.size, CV_8U, cv::Scalar(90));
    const cv::Mat tpl = Columns({16, 16}, 30, 200);
    cv::Mat tplBgr;
    cv::cvtColor(tpl, tplBgr, cv::COLOR_GRAY2BGR);
    std::vector<std::size_t> kept;
    cv::Mat::setDefaultAllocator(&allocator);
    std::thread([&] {
      cv::Point loc;
      double score = 0.0;
      EXPECT_TRUE(MatchGraySqDiff(grey, tpl, loc, score));
      kept.push_back(allocator.bytes);
      EXPECT_TRUE(MatchSqDiffNormed(image, tplBgr, loc, score));
      kept.push_back(allocator.bytes);
      EXPECT_TRUE(MatchHueSat(image, tpl, tpl, 0.9, loc, score));
      kept.push_back(allocator.bytes);
    }).join();
    cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator());
    for (const std::size_t bytes : kept) EXPECT_EQ(bytes > Large, c.kept) << bytes;
  }
}

}  // namespace
}  // namespace quillmark::testing
