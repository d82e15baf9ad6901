#include "core/ZeroMean.h"

#include <gtest/gtest.h>

namespace quillmark {
namespace {

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
