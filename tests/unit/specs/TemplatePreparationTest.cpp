#include "specs/TemplatePreparation.h"

#include <gtest/gtest.h>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <tuple>

#include "TemplateFolder.h"
#include "core/ColorGate.h"
#include "core/ImageFigures.h"

namespace quillmark {
namespace {

using test::Encoded;
using test::SameImage;

// Blocks of random colour, so that there are edges, flat areas and all hues.
cv::Mat Blocks(int channels, std::uint64_t seed, cv::Size size = {48, 40}) {
  cv::Mat small(size.height / 8, size.width / 8, CV_8UC(channels)), image;
  cv::RNG(seed).fill(small, cv::RNG::UNIFORM, 0, 256);
  cv::resize(small, image, size, 0, 0, cv::INTER_NEAREST);
  return image;
}

cv::Mat Converted(const cv::Mat& image, int conversion) {
  cv::Mat converted;
  cv::cvtColor(image, converted, conversion);
  return converted;
}

cv::Mat Plane(const cv::Mat& image, int conversion, int channel) {
  cv::Mat plane;
  cv::extractChannel(Converted(image, conversion), plane, channel);
  return plane;
}

class Preparation : public testing::Test {
 protected:
  // As the process does; OpenCV's own threads are opaque to the thread sanitizer.
  void SetUp() override { cv::setNumThreads(1); }

  TemplateSpec Prepared(const cv::Mat& image) {
    TemplateSpec spec;
    spec.path = folder.WriteImage("template.png", image);
    EXPECT_TRUE(PrepareTemplate(spec));
    return spec;
  }

  test::TemplateFolder folder;
};

void ExpectHsvStatistics(const TemplateSpec& spec, const cv::Mat& mask) {
  cv::Scalar mean, stdDev;
  cv::meanStdDev(Converted(spec.tmplBgr, cv::COLOR_BGR2HSV), mean, stdDev, mask);
  EXPECT_EQ(spec.hsvMean, mean);
  EXPECT_EQ(spec.hsvStd, stdDev);
}

TEST_F(Preparation, KeepsAColourImageAndComputesItsPlanes) {
  const cv::Mat image = Blocks(3, 1);
  const TemplateSpec spec = Prepared(image);
  EXPECT_TRUE(SameImage(spec.tmplBgr, image));
  EXPECT_TRUE(SameImage(spec.tmplGray, Converted(image, cv::COLOR_BGR2GRAY)));
  EXPECT_TRUE(SameImage(spec.tmplCr, Plane(image, cv::COLOR_BGR2YCrCb, 1)));
  EXPECT_TRUE(SameImage(spec.tmplCb, Plane(image, cv::COLOR_BGR2YCrCb, 2)));
  EXPECT_TRUE(SameImage(spec.tmplHue, Plane(image, cv::COLOR_BGR2HSV, 0)));
  EXPECT_TRUE(SameImage(spec.tmplSat, Plane(image, cv::COLOR_BGR2HSV, 1)));
  EXPECT_TRUE(spec.tmplMask.empty());
  ExpectHsvStatistics(spec, {});

  const cv::Mat hue = spec.tmplHue, bright = Plane(image, cv::COLOR_BGR2HSV, 2) >= 50;
  const cv::Mat red = ((hue <= 10) | (hue >= 170)) & (spec.tmplSat >= 80) & bright;
  ASSERT_GT(cv::countNonZero(red), 0);
  EXPECT_TRUE(SameImage(spec.tmplRedMask, red));
  EXPECT_NEAR(spec.redRatio, cv::countNonZero(red) / (48.0 * 40.0), 1e-9);

  cv::Mat real;  // its a* has its own units, around 0
  image.convertTo(real, CV_32F, 1.0 / 255.0);
  EXPECT_NEAR(spec.labAMean, cv::mean(Plane(real, cv::COLOR_BGR2Lab, 1))[0] + 128.0, 1.0);
}

TEST_F(Preparation, CentresTheEdgesAndTheirDilation) {
  // Blurred, so that the smallest change of either threshold changes an edge.
  cv::Mat image(200, 200, CV_8UC3);
  cv::RNG(2).fill(image, cv::RNG::UNIFORM, 0, 256);
  cv::GaussianBlur(image, image, {5, 5}, 0.0);
  const TemplateSpec spec = Prepared(image);
  cv::Mat edges;
  cv::Canny(spec.tmplGray, edges, 50, 150);
  const double density = cv::countNonZero(edges) / static_cast<double>(edges.total());
  ASSERT_GT(density, 0.05);
  EXPECT_NEAR(spec.edgeDensity, density, 1e-9);

  cv::Mat grown(edges.size(), CV_8UC1, cv::Scalar(0));  // an edge pixel among itself and its eight neighbours
  for (int y = 0; y < edges.rows; ++y) {
    for (int x = 0; x < edges.cols; ++x) {
      const cv::Rect around = cv::Rect(x - 1, y - 1, 3, 3) & cv::Rect({0, 0}, edges.size());
      if (cv::countNonZero(edges(around)) > 0) grown.at<std::uint8_t>(y, x) = 255;
    }
  }
  for (const auto& [prepared, marked] : {std::pair{spec.tmplEdgeZm, edges}, {spec.tmplEdgeDilZm, grown}}) {
    cv::Mat expected;
    marked.convertTo(expected, CV_32F, 1.0 / 255.0, -cv::mean(marked)[0] / 255.0);
    EXPECT_LE(cv::norm(prepared, expected, cv::NORM_INF), 1e-6);
  }
}

TEST_F(Preparation, MasksOpaquePixelsAndCountsOnlyThose) {
  cv::Mat image = Blocks(4, 3);
  for (int x = 0; x < image.cols; ++x) {
    cv::Mat alpha(image.rows, 1, CV_8UC1, cv::Scalar(x % 3));
    cv::insertChannel(alpha, image.col(x), 3);
  }
  const cv::Mat opaque = Plane(image, cv::COLOR_BGRA2RGBA, 3) > 0;
  const TemplateSpec spec = Prepared(image);
  EXPECT_TRUE(SameImage(spec.tmplBgr, Converted(image, cv::COLOR_BGRA2BGR)));
  EXPECT_TRUE(SameImage(spec.tmplMask, opaque));
  ExpectHsvStatistics(spec, opaque);

  const TemplateSpec transparent = Prepared(image & cv::Scalar(255, 255, 255, 0));
  ASSERT_EQ(transparent.tmplMask.size(), image.size());
  EXPECT_EQ(cv::countNonZero(transparent.tmplMask), 0);
  EXPECT_EQ(transparent.hsvMean, cv::Scalar());
}

TEST_F(Preparation, TurnsAGreyImageIntoEqualPlanes) {
  const cv::Mat image = Blocks(1, 5);
  const TemplateSpec spec = Prepared(image);
  EXPECT_TRUE(SameImage(spec.tmplBgr, Converted(image, cv::COLOR_GRAY2BGR)));
  EXPECT_EQ(spec.hsvMean[1], 0.0);
  EXPECT_NEAR(spec.labAMean, 128.0, 1e-9);
}

TEST_F(Preparation, VividFlatIsSaturationAbove100WithADeviationBelow20) {
  for (const auto& [left, right, expected] :
       {std::tuple{100, 100, false}, {101, 101, true}, {120, 160, false}, {120, 159, true}}) {
    cv::Mat image(8, 8, CV_8UC3, cv::Scalar(255 - left, 255, 255));
    image.colRange(4, 8).setTo(cv::Scalar(255 - right, 255, 255));
    EXPECT_EQ(Prepared(image).vividFlat, expected) << left << " and " << right;
  }
}

TEST_F(Preparation, FitsTheMaskOfAnEarlierPreparation) {
  TemplateSpec spec;
  spec.path = folder.WriteImage("template.png", Blocks(3, 9, {16, 8}));
  cv::Mat expected(8, 16, CV_8UC1, cv::Scalar(0));
  expected.colRange(0, 8).setTo(255);
  spec.tmplMask = cv::Mat::zeros(4, 4, CV_8UC1);
  spec.tmplMask.colRange(0, 2).setTo(255);
  ASSERT_TRUE(PrepareTemplate(spec));
  EXPECT_TRUE(SameImage(spec.tmplMask, expected));
  ExpectHsvStatistics(spec, expected);
}

TEST_F(Preparation, RefusesOtherDepthsAndChannelCounts) {
  const std::string greyWithAlpha =
      "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\nabcd";
  for (const std::wstring& path :
       {folder.Write("16.png", Encoded(cv::Mat(9, 9, CV_16UC3, cv::Scalar(1, 2, 3)))),
        folder.Write("16a.png", Encoded(cv::Mat(9, 9, CV_16UC4, cv::Scalar(1, 2, 3, 4)))),
        folder.Write("float.hdr", Encoded(cv::Mat(9, 9, CV_32FC3, cv::Scalar(1, 2, 3)), ".hdr")),
        folder.Write("two.pam", {greyWithAlpha.begin(), greyWithAlpha.end()})}) {
    TemplateSpec spec;
    spec.path = path;
    EXPECT_THROW((void)PrepareTemplate(spec), cv::Exception) << testing::PrintToString(path);
  }
}

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
