#include "core/PlaneTransform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

#include "support/Images.h"

namespace quillmark::testing {
namespace {

using Instructions = PlaneTransform::Instructions;

std::vector<Instructions> AllInstructions() {
  std::vector<Instructions> all{Instructions::Baseline};
  if (PlaneTransform::Fastest() != Instructions::Baseline) all.push_back(PlaneTransform::Fastest());
  return all;
}

cv::Mat Placements(cv::Size image, cv::Size tmpl) {
  return cv::Mat(image.height - tmpl.height + 1, image.width - tmpl.width + 1, CV_64F);
}

cv::Mat DirectCorrelation(const cv::Mat& image, const cv::Mat& tmpl) {
  cv::Mat result = Placements(image.size(), tmpl.size());
  for (int y = 0; y < result.rows; ++y) {
    for (int x = 0; x < result.cols; ++x) {
      result.at<double>(y, x) = image(cv::Rect(x, y, tmpl.cols, tmpl.rows)).dot(tmpl);
    }
  }
  return result;
}

cv::Mat Correlation(const PlaneTransform& transform, Instructions instructions,
                    const std::vector<cv::Mat>& images, const std::vector<cv::Mat>& tmpls) {
  Spectrum image, tmpl, product;
  for (std::size_t i = 0; i < images.size(); ++i) {
    transform.Forward(images[i], image);
    transform.Forward(tmpls[i], tmpl);
    Spectrum& sum = images.size() > 1 ? product : image;
    PlaneTransform::MultiplyConjugate(image, tmpl, sum, i > 0, instructions);
  }
  cv::Mat result = Placements(images[0].size(), tmpls[0].size());
  transform.Inverse(images.size() > 1 ? product : image, result);
  return result;
}

struct Case {
  cv::Size padded, image, tmpl;
};

// Every radix, odd and even, short and long enough to be transformed in parts, filled and padded.
std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const int width : {1, 2, 3, 4, 5, 6, 8, 9, 15, 20, 25, 27, 32, 45, 60}) {
    for (const int height : {1, 2, 3, 4, 5, 8, 10, 12, 18, 25, 30}) {
      const cv::Size padded(width, height);
      cases.push_back({padded, padded, {(width + 1) / 2, (height + 2) / 3}});
      cases.push_back({padded, {(width + 3) / 4 * 3 % width + 1, height}, {1, height}});
    }
  }
  for (const int length : {540, 625, 729, 1024, 1152, 3000}) {
    cases.push_back({{length, 2}, {length - 3, 2}, {40, 1}});
    cases.push_back({{3, length}, {3, length - 5}, {2, 60}});
  }
  cases.push_back({{96, 60}, {96, 60}, {96, 60}});
  return cases;
}

TEST(PlaneTransform, CorrelatesExactly) {
  for (const Instructions instructions : AllInstructions()) {
    Random random(1);
    for (const Case& each : Cases()) {
      const cv::Mat image = Noise(random, each.image, CV_8U), tmpl = Noise(random, each.tmpl, CV_8U);
      const PlaneTransform transform(each.padded, instructions);
      EXPECT_LE(cv::norm(Correlation(transform, instructions, {image}, {tmpl}),
                         DirectCorrelation(image, tmpl), cv::NORM_INF),
                1e-6)
          << each.padded << each.image << each.tmpl;
    }
  }
}

TEST(PlaneTransform, SumsPlanesOfEveryType) {
  for (const Instructions instructions : AllInstructions()) {
    Random random(2);
    const PlaneTransform transform({50, 48}, instructions);
    std::vector<cv::Mat> images, tmpls;
    cv::Mat expected = cv::Mat::zeros(Placements({45, 48}, {7, 5}).size(), CV_64F);
    for (const int depth : {CV_8U, CV_32F, CV_64F}) {
      cv::Mat image, tmpl;
      Noise(random, {60, 50}, CV_8U)(cv::Rect(3, 1, 45, 48)).convertTo(image, depth);
      Noise(random, {7, 5}, CV_8U).convertTo(tmpl, depth);
      images.push_back(image);
      tmpls.push_back(tmpl);
      expected += DirectCorrelation(image, tmpl);
    }
    EXPECT_LE(cv::norm(Correlation(transform, instructions, images, tmpls), expected, cv::NORM_INF), 1e-6);
  }
}

bool HasTransform(int length) {
  for (const int prime : {2, 3, 5}) {
    while (length % prime == 0) length /= prime;
  }
  return length == 1;
}

TEST(PlaneTransform, PaddedSizesAreTheCheapestThatFit) {
  for (const cv::Size size : {cv::Size(1, 1), {7, 11}, {64, 67}, {97, 41}, {257, 131}}) {
    const cv::Size padded = PlaneTransform::PaddedSize(size);
    EXPECT_GE(padded.width, size.width);
    EXPECT_GE(padded.height, size.height);
    EXPECT_NO_THROW(PlaneTransform{padded});
    for (int width = size.width; width <= 2 * size.width; ++width) {
      for (int height = size.height; height <= 2 * size.height; ++height) {
        if (!HasTransform(width) || !HasTransform(height)) continue;
        EXPECT_LE(PlaneTransform::Cost(padded), PlaneTransform::Cost({width, height})) << size;
      }
    }
  }
}

TEST(PlaneTransform, RefusesWhatItCannotTransform) {
  for (const cv::Size size : {cv::Size(0, 4), {4, 0}, {-2, 4}, {7, 4}, {4, 22}}) {
    EXPECT_THROW(PlaneTransform{size}, cv::Exception) << size;
  }
  const PlaneTransform transform({8, 6});
  Spectrum spectrum, other(transform.SpectrumSize() + 1);
  EXPECT_THROW(transform.Forward(cv::Mat(6, 9, CV_8U, cv::Scalar(0)), spectrum), cv::Exception);
  EXPECT_THROW(transform.Forward(cv::Mat(6, 8, CV_8UC3, cv::Scalar(0)), spectrum), cv::Exception);
  transform.Forward(cv::Mat(6, 8, CV_8U, cv::Scalar(0)), spectrum);
  EXPECT_THROW(PlaneTransform::MultiplyConjugate(spectrum, other, other, false), cv::Exception);
  cv::Mat narrow(6, 8, CV_32F), right(6, 8, CV_64F);
  EXPECT_THROW(transform.Inverse(spectrum, narrow), cv::Exception);
  EXPECT_THROW(transform.Inverse(other, right), cv::Exception);
}

TEST(PlaneTransform, ServesThreadsAtTheSameTime) {
  Random random(3);
  const cv::Mat image = Noise(random, {90, 64}, CV_8U), tmpl = Noise(random, {12, 9}, CV_8U);
  const PlaneTransform transform(image.size());
  const cv::Mat expected = Correlation(transform, PlaneTransform::Fastest(), {image}, {tmpl});
  std::vector<double> differences(4, -1.0);
  std::vector<std::thread> threads;
  for (double& difference : differences) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20; ++i) {
        difference =
            std::max(difference, cv::norm(Correlation(transform, PlaneTransform::Fastest(), {image}, {tmpl}),
                                          expected, cv::NORM_INF));
      }
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(differences, std::vector<double>(4, 0.0));
}

}  // namespace
}  // namespace quillmark::testing
