#include "core/RegionPicture.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "core/RegionGeometry.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

constexpr PlaneNeeds kAll{true, true};

void ExpectSame(const Planes& a, const Planes& b) {
  for (const auto plane : {&Planes::gray, &Planes::bgr, &Planes::hsv, &Planes::sat, &Planes::hue}) {
    ASSERT_EQ((a.*plane).size(), (b.*plane).size());
    EXPECT_EQ(cv::norm(a.*plane, b.*plane, cv::NORM_INF), 0.0);
  }
}

// The planes of the whole frame, converted in the long way, cut and scaled: what a picture must equal.
Planes PlanesOfFrame(const cv::Mat& frame, const cv::Rect& part, double scale) {
  Planes planes;
  cv::cvtColor(frame, planes.bgr, cv::COLOR_BGRA2BGR);
  cv::cvtColor(planes.bgr, planes.gray, cv::COLOR_BGR2GRAY);
  cv::cvtColor(planes.bgr, planes.hsv, cv::COLOR_BGR2HSV);
  cv::extractChannel(planes.hsv, planes.hue, 0);
  cv::extractChannel(planes.hsv, planes.sat, 1);
  for (const auto plane : {&Planes::gray, &Planes::bgr, &Planes::hsv, &Planes::sat, &Planes::hue}) {
    cv::Mat cut = (planes.*plane)(part).clone();
    const cv::Size size(RoundToPixel(part.width / scale), RoundToPixel(part.height / scale));
    if (scale != 1.0) cv::resize(cut, cut, size, 0, 0, scale < 1.0 ? cv::INTER_LINEAR : cv::INTER_AREA);
    planes.*plane = cut;
  }
  return planes;
}

TEST(RegionPicture, HasTheBitsOfTheFramesPlanesAlsoAfterPartialUpdates) {
  Random random(3);
  for (const double scale : {1.0, 1.5, 0.8}) {
    SCOPED_TRACE(scale);
    for (int round = 0; round < 8; ++round) {
      cv::Mat frame = Noise(random, {211, 97}, CV_8UC4);
      const cv::Rect part(random.Between(0, 40), random.Between(0, 30), random.Between(30, 150),
                          random.Between(30, 60));
      RegionPicture picture(frame(part), scale, scale);
      ExpectSame(picture.PlanesFor(kAll), PlanesOfFrame(frame, part, scale));
      for (int change = 0; change < 4; ++change) {
        const cv::Rect changed(part.x + random.Between(0, 20), part.y + random.Between(0, 20),
                               random.Between(1, 10), random.Between(1, 10));
        Noise(random, changed.size(), CV_8UC4).copyTo(frame(changed));
        const cv::Mat shown = frame(part);
        picture.Update(shown, picture.Differences(shown, changed - part.tl()));
        if (change % 2 == 0) continue;
        ExpectSame(picture.PlanesFor(kAll), PlanesOfFrame(frame, part, scale));
      }
    }
  }
}

TEST(RegionPicture, PlanesThatAreReadStayWhenOthersAreMade) {
  Random random(4);
  RegionPicture picture(Noise(random, {30, 20}, CV_8UC4), 1.0, 1.0);
  const Planes grey = picture.PlanesFor({});
  const Planes colour = picture.PlanesFor({.bgr = true, .hsv = false});
  const Planes all = picture.PlanesFor(kAll);
  EXPECT_EQ(grey.gray.data, all.gray.data);
  EXPECT_EQ(colour.bgr.data, all.bgr.data);
}

TEST(RegionPicture, FindsExactlyTheBandsThatDiffer) {
  const cv::Mat before(60, 40, CV_8UC4, cv::Scalar(1, 2, 3, 4));
  const cv::Rect whole(0, 0, 40, 60);
  const RegionPicture picture(before, 1.0, 1.0);
  cv::Mat after = before.clone();
  cv::insertChannel(cv::Mat(60, 40, CV_8UC1, cv::Scalar(9)), after, 3);
  EXPECT_TRUE(picture.Differences(after, whole).empty()) << "the fourth byte";
  after.at<cv::Vec4b>(7, 39)[2] ^= 1;
  after.at<cv::Vec4b>(8, 5)[0] ^= 1;
  after.at<cv::Vec4b>(59, 0)[1] ^= 1;
  EXPECT_EQ(picture.Differences(after, whole), (std::vector<cv::Rect>{{5, 7, 35, 2}, {0, 59, 1, 1}}));
  EXPECT_EQ(picture.Differences(after, {0, 0, 39, 59}), (std::vector<cv::Rect>{{5, 8, 1, 1}}));
  for (int y = 0; y < 60; y += 2) after.at<cv::Vec4b>(y, 20)[0] ^= 1;
  EXPECT_EQ(picture.Differences(after, whole).size(), 16u);
}

}  // namespace
}  // namespace quillmark::testing
