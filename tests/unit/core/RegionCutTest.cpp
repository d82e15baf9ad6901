#include "core/RegionCut.h"

#include "core/RegionPicture.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "support/Images.h"

namespace quillmark::testing {
namespace {

class RegionCutTest : public ::testing::Test {
 protected:
  RegionCutTest() { spec.targetRect = {0, 0, 300, 300}; }
  [[nodiscard]] ROIUnit CutAt(const cv::Rect& roi, double sx = 1.0, double sy = 1.0) {
    spec.roi = roi;
    spec.targetScaleX = sx;
    spec.targetScaleY = sy;
    return CutRegion(spec, PlaceRegion(spec, {0, 0, 100, 80}), screen, {0, 0});
  }

  Random random{5};
  cv::Mat screen = Noise(random, {100, 80}, CV_8UC4);
  TemplateSpec spec;
};

TEST_F(RegionCutTest, PlacesRegionsInsideTheClientArea) {
  constexpr int kMax = 2147483647;
  const struct {
    cv::Rect roi;
    double scale;
    Rect expected;
  } table[] = {
      {{10, 20, 100, 50}, 1.5, {55, 60, 205, 130}},
      {{0, 0, 200, 100}, 1.0, {40, 30, 240, 130}},
      {{-10, -10, 50, 50}, 1.0, {40, 30, 80, 70}},
      {{150, 60, 500, 500}, 1.0, {190, 90, 240, 130}},
      {{200, 0, 50, 50}, 1.0, {240, 30, 240, 80}},
      {{0, -60, 50, 50}, 1.0, {40, 30, 90, 30}},
      {{0, 0, 0, 0}, 1.0, {40, 30, 41, 31}},
      {{kMax, 0, kMax, 50}, 1.0, {240, 30, 240, 80}},
      {{-kMax - 1, 0, kMax, kMax}, 1.0, {40, 30, 40, 130}},
      {{-100, 0, kMax, kMax}, 1.0, {40, 30, 240, 130}},
  };
  spec.targetRect = {40, 30, 240, 130};
  for (const auto& c : table) {
    spec.roi = c.roi;
    spec.targetScaleX = spec.targetScaleY = c.scale;
    EXPECT_EQ(PlaceRegion(spec, {0, 0, 320, 240}).region, c.expected) << c.roi;
  }
}

TEST_F(RegionCutTest, ScalesOnlyBeyondAHundredthOfTemplateScale) {
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
    cv::Mat expected;
    cv::cvtColor(screen(cv::Rect({unit.x, unit.y}, cv::Point{unit.right, unit.bottom})), expected,
                 cv::COLOR_BGRA2BGR);
    const cv::Size scaled(cvRound(expected.cols / c.sx), cvRound(expected.rows / c.sy));
    if (c.interpolation != kCopy) cv::resize(expected, expected, scaled, 0, 0, c.interpolation);
    ASSERT_EQ(unit.bgr.size(), expected.size()) << c.sx << " x " << c.sy;
    EXPECT_EQ(cv::norm(unit.bgr, expected, cv::NORM_INF), 0.0) << c.sx << " x " << c.sy;
  }
}

TEST_F(RegionCutTest, CropHasAtLeastAPixelAndMayBeClipped) {
  EXPECT_EQ(CutAt({33, 26, 10, 10}, 3.0, 3.0).gray.size(), cv::Size(1, 1));
  EXPECT_FALSE(CutAt({10, 5, 90, 75}).clipped);
  EXPECT_TRUE(CutAt({10, 5, 91, 75}).clipped);
  EXPECT_TRUE(CutAt({10, 5, 90, 76}).clipped);
}

TEST_F(RegionCutTest, OnlyTheSpecsPlanesAreMadeForTheWorker) {
  for (const MatchMode mode : {MatchMode::Gray, MatchMode::Bgr, MatchMode::S, MatchMode::H, MatchMode::HS}) {
    spec.mode = mode;
    EXPECT_EQ(NeedsOf(spec).hsv, mode >= MatchMode::S);
    EXPECT_EQ(NeedsOf(spec).bgr, mode == MatchMode::Bgr);
  }
  for (const auto member : {&TemplateSpec::colorGate, &TemplateSpec::redHint, &TemplateSpec::vividFlat}) {
    TemplateSpec grey;
    grey.*member = true;
    EXPECT_TRUE(NeedsOf(grey).hsv);
    EXPECT_EQ(NeedsOf(grey).bgr, member != &TemplateSpec::vividFlat);
  }
  TemplateSpec chroma;
  chroma.chromaChannel = 2;
  EXPECT_TRUE(NeedsOf(chroma).bgr);
}

}  // namespace
}  // namespace quillmark::testing
