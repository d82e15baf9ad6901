#include "core/Matcher.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "core/DifferenceSearch.h"
#include "core/HueSearch.h"

namespace quillmark {
namespace {

// Keeps the correlation of uniform images at 0 instead of 0 / 0.
constexpr double kCorrelationGuard = 1e-12;

// The searches keep buffers of up to this size for the next call on the same thread. Larger ones are freed:
// allocating them costs little next to the search, and a search of a 4K screen would leave 139 MB on every
// thread.
constexpr std::size_t kKeptBytes = std::size_t{4} << 20;

// Frees a buffer that is too large to keep.
struct KeptBuffer {
  cv::Mat& buffer;
  ~KeptBuffer() {
    if (buffer.total() * buffer.elemSize() > kKeptBytes) buffer.release();
  }
};

bool CannotHold(const cv::Mat& image, const cv::Mat& tpl) {
  return image.empty() || tpl.empty() || image.cols < tpl.cols || image.rows < tpl.rows;
}

double NormalisedDot(const cv::Mat& a, const cv::Mat& b) {
  return a.dot(b) / (std::sqrt(a.dot(a) * b.dot(b)) + kCorrelationGuard);
}

void RequireHues(const cv::Mat& image) {
  cv::Mat cosines, sines;
  if (image.type() != CV_8U) HueToVec2(image, cosines, sines);  // raises
}

void Report(const Placement& best, cv::Point& loc, double& dist) {
  loc = best.loc;
  dist = best.dist;
}

cv::Mat FloatLessMean(const cv::Mat& image8u) {
  cv::Mat result;
  image8u.convertTo(result, CV_32F);
  cv::subtract(result, cv::Scalar(cv::mean(result)[0]), result);
  return result;
}

}  // namespace

double NCC1x1_Gray(const cv::Mat& a8u, const cv::Mat& b8u) {
  if (a8u.empty() || b8u.empty() || a8u.size() != b8u.size()) return -1.0;
  CV_Assert(a8u.type() == CV_8U && b8u.type() == CV_8U);
  return NormalisedDot(FloatLessMean(a8u), FloatLessMean(b8u));
}

double Corr1x1_ZeroMean(const cv::Mat& x32f_zm, const cv::Mat& t32f_zm) {
  CV_Assert(x32f_zm.type() == CV_32F && t32f_zm.type() == CV_32F);
  CV_Assert(x32f_zm.size() == t32f_zm.size());
  return NormalisedDot(x32f_zm, t32f_zm);
}

void HueToVec2(const cv::Mat& H8u, cv::Mat& cosOut, cv::Mat& sinOut) {
  CV_Assert(H8u.type() == CV_8U);
  constexpr double kRadiansPerHue = 0.01745329238474369;  // pi / 180 in single precision
  cv::Mat angle;
  H8u.convertTo(angle, CV_32F, kRadiansPerHue);
  cv::polarToCart(cv::Mat::ones(angle.size(), CV_32F), angle, cosOut, sinOut);
}

bool MatchHueVec(const cv::Mat& hue8u, const cv::Mat& hueTpl8u, cv::Point& loc, double& score, cv::Mat* map,
                 const SearchAids& aids) {
  if (CannotHold(hue8u, hueTpl8u)) return false;
  RequireHues(hue8u);
  RequireHues(hueTpl8u);
  thread_local cv::Mat scores;
  const KeptBuffer kept{scores};
  ScoreHues(hue8u, hueTpl8u, aids.spectra, scores);
  cv::minMaxLoc(scores, nullptr, &score, nullptr, &loc);
  if (map != nullptr) scores.copyTo(*map);
  return true;
}

void RefineOnSaturation(const cv::Mat& sat, const cv::Mat& satTpl8u, double hueWeight, cv::Point& loc,
                        double& score) {
  const cv::Point hueLoc = loc;
  const double hueScore = score;
  const cv::Rect image(0, 0, sat.cols, sat.rows);
  double best = -1.0;
  cv::Point bestLoc = hueLoc;
  cv::Mat satScore;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      const cv::Rect patch(hueLoc + cv::Point(dx, dy), satTpl8u.size());
      if ((patch & image) != patch) continue;
      cv::matchTemplate(sat(patch), satTpl8u, satScore, cv::TM_CCOEFF_NORMED);
      const double blend = (1.0 - hueWeight) * satScore.at<float>(0, 0) + hueWeight * hueScore;
      if (blend > best) {
        best = blend;
        bestLoc = patch.tl();
      }
    }
  }
  loc = bestLoc;
  score = best;
}

bool MatchHueSat(const cv::Mat& hsv, const cv::Mat& hueTpl8u, const cv::Mat& satTpl8u, double hueWeight,
                 cv::Point& loc, double& score, cv::Mat* map, const SearchAids& aids) {
  if (satTpl8u.empty()) return false;
  thread_local cv::Mat hue, sat;
  const KeptBuffer kept[] = {{hue}, {sat}};
  cv::extractChannel(hsv, hue, 0);
  cv::extractChannel(hsv, sat, 1);
  if (!MatchHueVec(hue, hueTpl8u, loc, score, map, aids)) return false;
  RefineOnSaturation(sat, satTpl8u, hueWeight, loc, score);
  return true;
}

bool MatchGraySqDiff(const cv::Mat& image, const cv::Mat& tplGray8u, cv::Point& loc, double& dist,
                     cv::Mat* map, const SearchAids& aids) {
  if (CannotHold(image, tplGray8u)) return false;
  cv::Mat gray = image;
  if (image.channels() == 3) cv::cvtColor(image, gray, cv::COLOR_BGR2GRAY);
  if (image.channels() == 4) cv::cvtColor(image, gray, cv::COLOR_BGRA2GRAY);

  cv::Scalar mean, stdDev;
  cv::meanStdDev(tplGray8u, mean, stdDev);
  const Difference kind = stdDev[0] < kFlatStdDev ? Difference::MeanSquare : Difference::Normed;
  Report(SearchByDifference({gray, tplGray8u, kind, aids.spectra}, aids.known, map), loc, dist);
  return true;
}

bool MatchSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl, cv::Point& loc, double& dist, cv::Mat* map,
                       const SearchAids& aids) {
  if (CannotHold(image, tpl)) return false;
  Report(SearchByDifference({image, tpl, Difference::Normed, aids.spectra}, aids.known, map), loc, dist);
  return true;
}

}  // namespace quillmark
