#include "support/NaiveMatcher.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace quillmark::testing {
namespace {

using Planes = std::vector<cv::Mat>;  // CV_64F

Planes InDouble(const cv::Mat& image) {
  Planes planes;
  cv::split(image, planes);
  for (cv::Mat& plane : planes) plane.convertTo(plane, CV_64F);
  return planes;
}

struct Sums {
  double image = 0.0, image2 = 0.0, tpl = 0.0, tpl2 = 0.0, cross = 0.0;
};

Sums SumUp(const Planes& image, const Planes& tpl, cv::Point at) {
  Sums s;
  for (size_t channel = 0; channel < tpl.size(); ++channel) {
    for (int y = 0; y < tpl[channel].rows; ++y) {
      const double* i = image[channel].ptr<double>(at.y + y) + at.x;
      const double* t = tpl[channel].ptr<double>(y);
      for (int x = 0; x < tpl[channel].cols; ++x) {
        s.image += i[x];
        s.image2 += i[x] * i[x];
        s.tpl += t[x];
        s.tpl2 += t[x] * t[x];
        s.cross += i[x] * t[x];
      }
    }
  }
  return s;
}

cv::Mat ScoreEverywhere(const Planes& image, const Planes& tpl,
                        const std::function<double(const Sums&)>& score) {
  cv::Mat scores(image[0].rows - tpl[0].rows + 1, image[0].cols - tpl[0].cols + 1, CV_64F);
  for (int y = 0; y < scores.rows; ++y) {
    for (int x = 0; x < scores.cols; ++x) scores.at<double>(y, x) = score(SumUp(image, tpl, {x, y}));
  }
  return scores;
}

double SquaredDifference(const Sums& s) {
  return std::max(s.image2 - 2.0 * s.cross + s.tpl2, 0.0);
}

// At most 1: a black window or template differs by 1 from anything, even itself.
double NormedDifference(const Sums& s) {
  const double norm = std::sqrt(s.image2) * std::sqrt(s.tpl2);
  return norm > 0.0 ? std::min(SquaredDifference(s) / norm, 1.0) : 1.0;
}

double NormedProduct(const Sums& s) {
  const double norm = std::sqrt(s.image2 * s.tpl2);
  return norm > 1e-9 ? s.cross / norm : 0.0;
}

double Variance(const Planes& plane) {
  const Sums s = SumUp(plane, plane, {0, 0});
  const double pixels = static_cast<double>(plane[0].total());
  return s.image2 / pixels - (s.image / pixels) * (s.image / pixels);
}

}  // namespace

cv::Mat NaiveSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl) {
  return ScoreEverywhere(InDouble(image), InDouble(tpl), NormedDifference);
}

cv::Mat NaiveGraySqDiff(const cv::Mat& gray, const cv::Mat& tpl) {
  if (std::sqrt(Variance(InDouble(tpl))) >= 3.0) return NaiveSqDiffNormed(gray, tpl);
  const double scale = static_cast<double>(tpl.total()) * 255.0 * 255.0;
  return ScoreEverywhere(InDouble(gray), InDouble(tpl),
                         [scale](const Sums& s) { return SquaredDifference(s) / scale; });
}

cv::Mat NaiveHueVec(const cv::Mat& hue, const cv::Mat& tpl) {
  // In single precision the cosine of 90 degrees is tiny but not 0; normalised, it counts like any other.
  const auto turned = [](const cv::Mat& hues, double (*turn)(double)) {
    Planes planes = InDouble(hues);
    for (auto h = planes[0].begin<double>(); h != planes[0].end<double>(); ++h) {
      *h = turn(static_cast<float>(*h * 0.01745329238474369));
    }
    return planes;
  };
  const cv::Mat cosines = ScoreEverywhere(turned(hue, std::cos), turned(tpl, std::cos), NormedProduct);
  const cv::Mat sines = ScoreEverywhere(turned(hue, std::sin), turned(tpl, std::sin), NormedProduct);
  return 1.0 - 0.5 * (cosines + sines);
}

double NaiveCorrelation(const cv::Mat& a, const cv::Mat& b) {
  const Planes x = InDouble(a), y = InDouble(b);
  const Sums s = SumUp(x, y, {0, 0});
  const double pixels = static_cast<double>(a.total());
  const double cross = s.cross - s.image * s.tpl / pixels;
  const double spread = (s.image2 - s.image * s.image / pixels) * (s.tpl2 - s.tpl * s.tpl / pixels);
  return spread > 1e-9 ? cross / std::sqrt(spread) : 0.0;
}

}  // namespace quillmark::testing
