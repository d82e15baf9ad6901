#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "advice/Checks.h"
#include "text/Numbers.h"

namespace quillmark::advice {
namespace {

// In 8-bit units, hue 0 to 179.
constexpr int kHues = 180, kHueStep = 5;
constexpr int kAnotherHue = 20;  // this far apart nobody takes two colours for one
constexpr double kGreySaturation = 40.0, kDarkValue = 40.0;
constexpr int kSeam = 10;  // hues as close to an end of the scale as this
constexpr double kShareAtSeam = 0.05;

// Accepted differences above this leave a hue mode loose.
constexpr double kLooseHue = 0.15;

// Pixels that have a hue.
cv::Mat ColouredPixels(const cv::Mat& hsv) {
  cv::Mat saturation, value;
  cv::extractChannel(hsv, saturation, 1);
  cv::extractChannel(hsv, value, 2);
  return (saturation >= kGreySaturation) & (value >= kDarkValue);
}

int HueDistance(int a, int b) {
  const int apart = std::abs(a - b);
  return std::min(apart, kHues - apart);
}

// The hues of the template's coloured pixels, marked.
std::vector<bool> HuesOf(const cv::Mat& hue, const cv::Mat& coloured) {
  std::vector<bool> present(kHues);
  for (int y = 0; y < hue.rows; ++y) {
    for (int x = 0; x < hue.cols; ++x) {
      if (coloured.at<unsigned char>(y, x) != 0) present[hue.at<unsigned char>(y, x) % kHues] = true;
    }
  }
  return present;
}

bool IsFarFrom(const std::vector<bool>& present, int hue) {
  for (int other = 0; other < kHues; ++other) {
    if (present[static_cast<std::size_t>(other)] && HueDistance(hue, other) <= kAnotherHue) return false;
  }
  return true;
}

// Plain areas of other hues, which ought to be refused.
void CheckOtherHues(const TemplateSpec& spec, const std::vector<bool>& present, FindingList& list) {
  int accepted = 0, tried = 0, first = -1, last = -1;
  for (int hue = 0; hue < kHues; hue += kHueStep) {
    if (!IsFarFrom(present, hue)) continue;
    cv::Mat plain(spec.tmplBgr.size(), CV_8UC3, cv::Scalar(hue, 200, 200));
    cv::cvtColor(plain, plain, cv::COLOR_HSV2BGR);
    ++tried;
    if (!ProbeOn(plain, spec).verdict.Accepted()) continue;
    ++accepted;
    if (first < 0) first = hue;
    last = hue;
  }
  if (accepted == 0) return;
  list.Add(FindingCode::HueBlind,
           "of " + std::to_string(tried) + " plain areas of other hues " + std::to_string(accepted) +
               " are hits, hues " + std::to_string(first) + " to " + std::to_string(last) + " of 180",
           {{"tried", static_cast<double>(tried)},
            {"hits", static_cast<double>(accepted)},
            {"first", static_cast<double>(first)},
            {"last", static_cast<double>(last)}});
}

double ShareOf(const cv::Mat& mask) {
  return cv::countNonZero(mask) / static_cast<double>(mask.total());
}

void CheckSeam(const cv::Mat& hue, const cv::Mat& coloured, FindingList& list) {
  const double low = ShareOf((hue <= kSeam) & coloured), high = ShareOf((hue >= kHues - kSeam) & coloured);
  if (std::min(low, high) < kShareAtSeam) return;
  list.Add(
      FindingCode::HueSeam,
      Digits(100.0 * low) + " % of the pixels have hues up to 10, " + Digits(100.0 * high) + " % from 170",
      {{"low", low}, {"high", high}});
}

}  // namespace

void CheckHue(const Subject& subject, const Probe& own, FindingList& list) {
  const TemplateSpec& spec = subject.spec;
  if (!IsHueMode(spec.mode)) return;
  const double limit = AcceptedDifference(own.verdict, spec);
  if (limit > kLooseHue) {
    list.Add(FindingCode::HueLoose,
             "differences up to " + Digits(limit) + " are accepted" +
                 (limit > spec.maxDiff ? " in place of " + Digits(spec.maxDiff) : ""),
             {{"difference", limit}, {"asked", spec.maxDiff}});
  }

  cv::Mat hsv;
  cv::cvtColor(spec.tmplBgr, hsv, cv::COLOR_BGR2HSV);
  const cv::Mat coloured = ColouredPixels(hsv);
  const double grey = 1.0 - ShareOf(coloured);
  if (grey > 0.5) {
    list.Add(FindingCode::HueOfGrey, Digits(100.0 * grey) + " % of the pixels have no hue",
             {{"share", grey}});
  }
  CheckSeam(spec.tmplHue, coloured, list);
  if (own.verdict.Accepted() && grey < 1.0) CheckOtherHues(spec, HuesOf(spec.tmplHue, coloured), list);
}

}  // namespace quillmark::advice
