#include "specs/TemplatePreparation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <tuple>

#include "TemplateFolder.h"

namespace quillmark {
namespace {

using test::Encoded;
using test::TemplateFolder;

// Blocks of random colour, so that there are edges, flat areas and all hues.
cv::Mat Blocks(int channels, int seed, cv::Size size = {48, 40}) {
  cv::Mat small(size.height / 8, size.width / 8, CV_8UC(channels)), image;
  cv::RNG(static_cast<std::uint64_t>(seed)).fill(small, cv::RNG::UNIFORM, 0, 256);
  cv::resize(small, image, size, 0, 0, cv::INTER_NEAREST);
  return image;
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

  TemplateFolder folder;
};

// Mean and deviation by definition, over the pixels where `mask` is not 0.
void ExpectHsvStatistics(const TemplateSpec& spec, const cv::Mat& mask) {
  cv::Mat hsv;
  cv::cvtColor(spec.tmplBgr, hsv, cv::COLOR_BGR2HSV);
  for (int channel = 0; channel < 3; ++channel) {
    double sum = 0.0, squares = 0.0, count = 0.0;
    for (int y = 0; y < hsv.rows; ++y) {
      for (int x = 0; x < hsv.cols; ++x) {
        if (mask.at<std::uint8_t>(y, x) == 0) continue;
        const double value = hsv.at<cv::Vec3b>(y, x)[channel];
        sum += value, squares += value * value, ++count;
      }
    }
    const double mean = count > 0 ? sum / count : 0.0;
    EXPECT_NEAR(spec.hsvMean[channel], mean, 1e-9);
    EXPECT_NEAR(spec.hsvStd[channel],
                count > 0 ? std::sqrt(std::max(0.0, squares / count - mean * mean)) : 0.0, 1e-6);
  }
}

TEST_F(Preparation, KeepsAColourImageAndComputesItsPlanes) {
  const cv::Mat image = Blocks(3, 1);
  const TemplateSpec spec = Prepared(image);
  EXPECT_EQ(cv::norm(spec.tmplBgr, image, cv::NORM_INF), 0.0);
  EXPECT_TRUE(spec.tmplMask.empty());
  int red = 0;
  double labA = 0.0;
  for (int y = 0; y < image.rows; ++y) {
    for (int x = 0; x < image.cols; ++x) {
      const cv::Vec3b bgr = image.at<cv::Vec3b>(y, x);
      const double b = bgr[0], g = bgr[1], r = bgr[2];
      const double luma = 0.114 * b + 0.587 * g + 0.299 * r;
      ASSERT_NEAR(spec.tmplGray.at<std::uint8_t>(y, x), luma, 1.0);
      ASSERT_NEAR(spec.tmplCr.at<std::uint8_t>(y, x), std::clamp((r - luma) * 0.713 + 128, 0.0, 255.0), 1.5);
      ASSERT_NEAR(spec.tmplCb.at<std::uint8_t>(y, x), std::clamp((b - luma) * 0.564 + 128, 0.0, 255.0), 1.5);
      const double top = std::max({b, g, r}), spread = top - std::min({b, g, r});
      ASSERT_NEAR(spec.tmplSat.at<std::uint8_t>(y, x), top > 0 ? 255.0 * spread / top : 0.0, 1.0);
      if (spread > 0) {
        double hue = top == r   ? 30 * (g - b) / spread
                     : top == g ? 60 + 30 * (b - r) / spread
                                : 120 + 30 * (r - g) / spread;
        if (hue < 0) hue += 180;
        const double off = std::abs(spec.tmplHue.at<std::uint8_t>(y, x) - hue);
        ASSERT_LE(std::min(off, 180 - off), 1.0);
      }
      const int h = spec.tmplHue.at<std::uint8_t>(y, x), s = spec.tmplSat.at<std::uint8_t>(y, x);
      const bool isRed = (h <= 10 || h >= 170) && s >= 80 && top >= 50;
      ASSERT_EQ(spec.tmplRedMask.at<std::uint8_t>(y, x), isRed ? 255 : 0);
      red += isRed;
    }
  }
  EXPECT_GT(red, 0);
  EXPECT_NEAR(spec.redRatio, red / (48.0 * 40.0), 1e-9);
  cv::Mat real, lab;
  image.convertTo(real, CV_32F, 1.0 / 255.0);
  cv::cvtColor(real, lab, cv::COLOR_BGR2Lab);
  labA = cv::mean(lab)[1] + 128.0;
  EXPECT_NEAR(spec.labAMean, labA, 1.0);
  ExpectHsvStatistics(spec, cv::Mat(image.size(), CV_8UC1, cv::Scalar(255)));
}

TEST_F(Preparation, CentresTheEdgesAndTheirDilation) {
  // So soft that the least change of either threshold changes an edge.
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
  const double grownDensity = cv::countNonZero(grown) / static_cast<double>(grown.total());
  for (int y = 0; y < edges.rows; ++y) {
    for (int x = 0; x < edges.cols; ++x) {
      ASSERT_NEAR(spec.tmplEdgeZm.at<float>(y, x), (edges.at<std::uint8_t>(y, x) ? 1.0 : 0.0) - density,
                  1e-6);
      ASSERT_NEAR(spec.tmplEdgeDilZm.at<float>(y, x),
                  (grown.at<std::uint8_t>(y, x) ? 1.0 : 0.0) - grownDensity, 1e-6);
    }
  }
}

TEST_F(Preparation, MasksWhatIsOpaqueAndCountsOnlyThat) {
  cv::Mat image = Blocks(4, 3), alpha, colours;
  for (int y = 0; y < image.rows; ++y) {
    for (int x = 0; x < image.cols; ++x)
      image.at<cv::Vec4b>(y, x)[3] = static_cast<std::uint8_t>(x % 3 == 0 ? 0 : x % 3);
  }
  cv::extractChannel(image, alpha, 3);
  cv::cvtColor(image, colours, cv::COLOR_BGRA2BGR);
  const TemplateSpec spec = Prepared(image);
  EXPECT_EQ(cv::norm(spec.tmplBgr, colours, cv::NORM_INF), 0.0);
  EXPECT_EQ(cv::norm(spec.tmplMask, alpha > 0, cv::NORM_INF), 0.0);
  ExpectHsvStatistics(spec, alpha);
}

TEST_F(Preparation, HandlesAFullyTransparentImage) {
  cv::Mat image = Blocks(4, 4);
  image &= cv::Scalar(255, 255, 255, 0);
  const TemplateSpec spec = Prepared(image);
  ASSERT_EQ(spec.tmplMask.size(), image.size());
  EXPECT_EQ(cv::countNonZero(spec.tmplMask), 0);
  EXPECT_EQ(spec.hsvMean, cv::Scalar());
  EXPECT_FALSE(spec.vividFlat);
}

TEST_F(Preparation, TurnsAGreyImageIntoEqualPlanes) {
  const cv::Mat image = Blocks(1, 5);
  const TemplateSpec spec = Prepared(image);
  cv::Mat planes[3];
  cv::split(spec.tmplBgr, planes);
  for (const cv::Mat& plane : planes) EXPECT_EQ(cv::norm(plane, image, cv::NORM_INF), 0.0);
  EXPECT_EQ(spec.hsvMean[1], 0.0);
  EXPECT_FALSE(spec.vividFlat);
  EXPECT_EQ(spec.redRatio, 0.0);
  EXPECT_NEAR(spec.labAMean, 128.0, 1e-9);
}

TEST_F(Preparation, FindsNoEdgeInAFlatVividImage) {
  const TemplateSpec spec = Prepared(cv::Mat(12, 9, CV_8UC3, cv::Scalar(20, 20, 220)));
  EXPECT_EQ(spec.edgeDensity, 0.0);
  EXPECT_EQ(cv::countNonZero(spec.tmplEdgeZm) + cv::countNonZero(spec.tmplEdgeDilZm), 0);
  EXPECT_TRUE(spec.vividFlat);
  EXPECT_NEAR(spec.redRatio, 1.0, 1e-6);
}

TEST_F(Preparation, CallsVividAndFlatWhatIsSaturatedAboveAHundredAndVariesByLessThanTwenty) {
  for (const auto& [left, right, expected] :
       {std::tuple{100, 100, false}, {101, 101, true}, {120, 160, false}, {120, 159, true}}) {
    cv::Mat image(8, 8, CV_8UC3, cv::Scalar(255 - left, 255, 255));
    image.colRange(4, 8).setTo(cv::Scalar(255 - right, 255, 255));
    EXPECT_EQ(Prepared(image).vividFlat, expected) << left << " and " << right;
  }
}

TEST_F(Preparation, LeavesTheRecordWhenTheImageCannotBeRead) {
  TemplateSpec spec = Prepared(Blocks(4, 6));
  const TemplateSpec before = spec;
  spec.path = folder.Path("missing.png");
  EXPECT_FALSE(PrepareTemplate(spec));
  EXPECT_EQ(spec.tmplBgr.data, before.tmplBgr.data);
  EXPECT_EQ(spec.tmplMask.data, before.tmplMask.data);
  EXPECT_EQ(spec.hsvMean, before.hsvMean);
}

TEST_F(Preparation, NeverWritesIntoTheMatricesOfACopy) {
  const cv::Mat first = Blocks(4, 7), second = Blocks(4, 8);
  TemplateSpec spec = Prepared(first);
  const TemplateSpec copy = spec;
  const TemplateSpec fresh = Prepared(first);
  folder.WriteImage("template.png", second);
  ASSERT_TRUE(PrepareTemplate(spec));
  for (const auto member :
       {&TemplateSpec::tmplBgr, &TemplateSpec::tmplGray, &TemplateSpec::tmplMask, &TemplateSpec::tmplHue,
        &TemplateSpec::tmplSat, &TemplateSpec::tmplEdgeZm, &TemplateSpec::tmplEdgeDilZm,
        &TemplateSpec::tmplRedMask, &TemplateSpec::tmplCr, &TemplateSpec::tmplCb}) {
    EXPECT_EQ(cv::norm(copy.*member, fresh.*member, cv::NORM_INF), 0.0);
    EXPECT_NE((copy.*member).data, (spec.*member).data);
  }
}

TEST_F(Preparation, BringsALeftOverMaskIntoShape) {
  TemplateSpec spec;
  spec.path = folder.WriteImage("template.png", Blocks(3, 9, {16, 8}));
  for (const int type : {CV_8UC1, CV_8UC3, CV_32FC1}) {
    spec.tmplMask = cv::Mat(4, 4, type, cv::Scalar::all(0));
    spec.tmplMask.colRange(0, 2).setTo(cv::Scalar::all(255));
    ASSERT_TRUE(PrepareTemplate(spec));
    cv::Mat expected(8, 16, CV_8UC1, cv::Scalar(0));
    expected.colRange(0, 8).setTo(255);
    ASSERT_EQ(spec.tmplMask.type(), CV_8UC1);
    EXPECT_EQ(cv::norm(spec.tmplMask, expected, cv::NORM_INF), 0.0) << type;
    ExpectHsvStatistics(spec, expected);
  }
}

TEST_F(Preparation, RefusesOtherDepthsAndChannelCounts) {
  const std::string greyWithAlpha =
      "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\nabcd";
  folder.Write("16.png", Encoded(cv::Mat(9, 9, CV_16UC3, cv::Scalar(1, 2, 3))));
  folder.Write("16a.png", Encoded(cv::Mat(9, 9, CV_16UC4, cv::Scalar(1, 2, 3, 4))));
  folder.Write("float.hdr", Encoded(cv::Mat(9, 9, CV_32FC3, cv::Scalar(1, 2, 3)), ".hdr"));
  folder.Write("two.pam", {greyWithAlpha.begin(), greyWithAlpha.end()});
  for (const char* name : {"16.png", "16a.png", "float.hdr", "two.pam"}) {
    TemplateSpec spec;
    spec.path = folder.Path(name);
    EXPECT_THROW((void)PrepareTemplate(spec), cv::Exception) << name;
  }
}

}  // namespace
}  // namespace quillmark
