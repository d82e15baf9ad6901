#include "core/ColorGate.h"

#include <gtest/gtest.h>

#include "core/ImageFigures.h"

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

TEST(ColorGate, RefusesOtherImageTypesAndLeavesTheMask) {
  for (const int type : {CV_8UC1, CV_8UC4, CV_16UC3}) {
    cv::Mat mask(1, 1, CV_8UC1, cv::Scalar(77));
    EXPECT_THROW(BuildRedMaskHSV(cv::Mat::zeros(2, 2, type), mask, 10, 170, 80, 50), cv::Exception) << type;
    ASSERT_EQ(mask.size(), cv::Size(1, 1));
    EXPECT_EQ(mask.at<std::uint8_t>(0, 0), 77);
  }
}

}  // namespace
}  // namespace quillmark
