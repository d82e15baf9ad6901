#include "core/RegionCut.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "support/Images.h"

namespace quillmark::testing {
namespace {

class RegionCutTest : public ::testing::Test {
 protected:
  RegionCutTest() {
    Random random(5);
    ConvertFrame(Noise(random, {100, 80}, CV_8UC4), true, images);
    spec.targetRect = {0, 0, 300, 300};
  }
  [[nodiscard]] ROIUnit CutAt(const cv::Rect& roi, double sx, double sy) {
    spec.roi = roi;
    spec.targetScaleX = sx;
    spec.targetScaleY = sy;
    return CutRegion(spec, PlaceRegion(spec, {0, 0, 100, 80}), images, {0, 0});
  }

  FrameImages images;
  TemplateSpec spec;
};

TEST_F(RegionCutTest, CopiesWithinAHundredthOfTemplateScaleAndScalesElse) {
  constexpr int kCopy = -1;
  const struct {
    double sx, sy;
    int interpolation;
  } table[] = {
      {1.0, 1.0, kCopy},
      {1.009, 0.991, kCopy},
      {0.0, 0.0, kCopy},
      {1.011, 1.0, cv::INTER_AREA},
      {1.0, 1.011, cv::INTER_AREA},
      {0.989, 1.0, cv::INTER_LINEAR},
      {2.0, 2.0, cv::INTER_AREA},
      {0.5, 0.5, cv::INTER_LINEAR},
      {2.0, 0.5, cv::INTER_LINEAR},
  };
  for (const auto& c : table) {
    const ROIUnit unit = CutAt({10, 5, 80, 60}, c.sx, c.sy);
    cv::Mat expected = images.bgr(cv::Rect({unit.x, unit.y}, cv::Point{unit.right, unit.bottom})).clone();
    const cv::Size scaled(cvRound(expected.cols / c.sx), cvRound(expected.rows / c.sy));
    if (c.interpolation != kCopy) cv::resize(expected, expected, scaled, 0, 0, c.interpolation);
    ASSERT_EQ(unit.bgr.size(), expected.size()) << c.sx << " x " << c.sy;
    EXPECT_EQ(cv::norm(unit.bgr, expected, cv::NORM_INF), 0.0) << c.sx << " x " << c.sy;
  }
}

TEST_F(RegionCutTest, GivesAtLeastAPixel) {
  const ROIUnit unit = CutAt({33, 26, 10, 10}, 3.0, 3.0);
  EXPECT_EQ(unit.gray.size(), cv::Size(1, 1));
  EXPECT_TRUE(unit.clipped);
}

TEST_F(RegionCutTest, TakesHueAndSaturationFromTheirPlanes) {
  const ROIUnit unit = CutAt({10, 5, 30, 20}, 1.0, 1.0);
  cv::Mat planes[3];
  cv::split(unit.hsv, planes);
  EXPECT_EQ(cv::norm(unit.hue, planes[0], cv::NORM_INF), 0.0);
  EXPECT_EQ(cv::norm(unit.sat, planes[1], cv::NORM_INF), 0.0);
}

}  // namespace
}  // namespace quillmark::testing
