#include "core/ColorGate.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/ImageFigures.h"
#include "core/ZeroMean.h"

namespace quillmark {
namespace {

TEST(ColorGate, RedIsHue170To10FromSaturation80AndValue50) {
  const cv::Mat hsv = (cv::Mat_<cv::Vec3b>(1, 8) << cv::Vec3b(10, 80, 50), cv::Vec3b(11, 80, 50),
                       cv::Vec3b(170, 80, 50), cv::Vec3b(169, 80, 50), cv::Vec3b(0, 79, 50),
                       cv::Vec3b(0, 80, 49), cv::Vec3b(179, 255, 255), cv::Vec3b(90, 255, 255));
  const cv::Mat red = (cv::Mat_<std::uint8_t>(1, 8) << 255, 0, 255, 0, 0, 0, 255, 0);
  cv::Mat mask;
  MarkRed(hsv, mask);
  EXPECT_EQ(cv::norm(mask, red, cv::NORM_INF), 0.0) << mask;
}

TEST(ColorGate, AgreesWithThePixelwiseRuleOverRandomImages) {
  cv::RNG random(4711);
  for (int round = 0; round < 50; ++round) {
    cv::Mat hsv(random.uniform(1, 40), random.uniform(1, 40), CV_8UC3);
    random.fill(hsv, cv::RNG::UNIFORM, 0, 256);
    const int low = random.uniform(0, 180), high = random.uniform(0, 181);
    const int sat = random.uniform(0, 256), val = random.uniform(0, 256);
    cv::Mat mask;
    BuildRedMaskHSV(hsv, mask, low, high, sat, val);
    ASSERT_EQ(mask.type(), CV_8UC1);
    ASSERT_EQ(mask.size(), hsv.size());
    for (int y = 0; y < hsv.rows; ++y) {
      for (int x = 0; x < hsv.cols; ++x) {
        const auto p = hsv.at<cv::Vec3b>(y, x);
        const bool red = (p[0] <= low || (p[0] >= high && p[0] <= 180)) && p[1] >= sat && p[2] >= val;
        ASSERT_EQ(mask.at<std::uint8_t>(y, x), red ? 255 : 0) << p;
      }
    }
  }
}

TEST(ColorGate, RefusesOtherImageTypesAndLeavesTheMask) {
  for (const cv::Mat& image :
       {cv::Mat(), cv::Mat(2, 2, CV_8UC1, cv::Scalar(0)), cv::Mat(2, 2, CV_8UC4, cv::Scalar(0)),
        cv::Mat(2, 2, CV_16UC3, cv::Scalar(0))}) {
    cv::Mat mask(1, 1, CV_8UC1, cv::Scalar(77));
    EXPECT_THROW(BuildRedMaskHSV(image, mask, 10, 170, 80, 50), cv::Exception) << image.type();
    ASSERT_EQ(mask.size(), cv::Size(1, 1));
    EXPECT_EQ(mask.at<std::uint8_t>(0, 0), 77);
  }
}

TEST(ColorGate, KeepsOneMorphologyElementAThread) {
  const cv::Mat& mine = MorphKernel3x3();
  const cv::Mat* theirs = nullptr;
  cv::Mat contents;
  std::thread([&] {
    theirs = &MorphKernel3x3();
    contents = MorphKernel3x3().clone();
  }).join();
  EXPECT_EQ(&mine, &MorphKernel3x3());
  EXPECT_NE(&mine, theirs);
  const cv::Mat ones = cv::Mat::ones(3, 3, CV_8UC1);
  EXPECT_EQ(cv::norm(mine, ones), 0.0);
  EXPECT_EQ(cv::norm(contents, ones), 0.0);
}

TEST(ZeroMean, WorksInPlaceOnASubMatrix) {
  cv::Mat image(20, 30, CV_8UC1);
  cv::RNG(7).fill(image, cv::RNG::UNIFORM, 0, 256);
  const cv::Mat crop = image(cv::Rect(3, 4, 11, 9)).clone();
  cv::Mat result = image(cv::Rect(3, 4, 11, 9));
  ToZeroMeanFloat(result, result);
  double sum = 0.0;
  for (int y = 0; y < crop.rows; ++y) {
    for (int x = 0; x < crop.cols; ++x) sum += crop.at<std::uint8_t>(y, x) / 255.0;
  }
  const double mean = sum / static_cast<double>(crop.total());
  for (int y = 0; y < crop.rows; ++y) {
    for (int x = 0; x < crop.cols; ++x) {
      ASSERT_NEAR(result.at<float>(y, x), crop.at<std::uint8_t>(y, x) / 255.0 - mean, 1e-6);
    }
  }
}

TEST(ZeroMean, ReleasesTheDestinationForAnEmptySource) {
  cv::Mat result(3, 3, CV_32FC1, cv::Scalar(1));
  ToZeroMeanFloat(cv::Mat(), result);
  EXPECT_TRUE(result.empty());
}

}  // namespace
}  // namespace quillmark
