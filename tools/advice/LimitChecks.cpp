#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "advice/Checks.h"
#include "text/Numbers.h"

namespace quillmark::advice {
namespace {

// Unrelated images can differ by as little as this.
constexpr double kLoose = 0.25;
// The search's rounding error is almost this large.
constexpr double kTight = 0.001;

void CheckScore(const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  if (spec.minScore <= 0.0 || 1.0 - spec.minScore < v.difference.limit.Value()) return;
  list.Add(FindingCode::ScoreWithoutEffect,
           "a score of " + Digits(spec.minScore) + " allows a difference of " + Digits(1.0 - spec.minScore) +
               ", but at most " + Digits(v.difference.limit.Value()) + " is accepted",
           {{"score", spec.minScore}, {"difference", v.difference.limit.Value()}});
}

void CheckDifference(const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  const double limit = AcceptedDifference(v, spec);
  const std::string text = "differences up to " + Digits(limit) + " are accepted";
  if (limit > kLoose && !IsHueMode(spec.mode))
    list.Add(FindingCode::DifferenceLoose, text, {{"difference", limit}});
  if (limit < kTight) list.Add(FindingCode::DifferenceTight, text, {{"difference", limit}});
}

void CheckEdgeMin(float given, const TemplateSpec& spec, const Verdict& v, FindingList& list) {
  if (given == static_cast<float>(TemplateSpec().edgeMin)) return;
  const std::vector<Fact> facts{{"edgeMin", given}};
  if (!v.edgeCorrelation.HasSay()) {
    list.Add(FindingCode::EdgeMinWithoutEffect, "this spec ignores edges", facts);
  } else if (spec.edgeMin < spec.edgeMinFloor) {
    list.Add(FindingCode::EdgeMinWithoutEffect,
             Digits(spec.edgeMin) + " is below the floor and acts like " + Digits(spec.edgeMinFloor), facts);
  }
}

// In 8-bit units, hue 0 to 179.
constexpr int kHues = 180, kHueStep = 5;
constexpr int kAnotherHue = 20;  // colours this far apart are clearly different
constexpr double kGreySaturation = 40.0, kDarkValue = 40.0;
constexpr int kSeam = 10;  // hues this close to an end of the scale
constexpr double kShareAtSeam = 0.05;

// A hue mode that accepts larger differences is loose.
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

// Which hues the template's coloured pixels have.
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

// Plain areas of other hues, which should be rejected.
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
           std::to_string(accepted) + " of " + std::to_string(tried) +
               " plain areas of other hues are hits, hues " + std::to_string(first) + " to " +
               std::to_string(last) + " of 180",
           {{"tried", tried}, {"hits", accepted}, {"first", first}, {"last", last}});
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

void CheckHue(const TemplateSpec& spec, const Probe& own, FindingList& list) {
  const double limit = AcceptedDifference(own.verdict, spec);
  if (limit > kLooseHue) {
    list.Add(FindingCode::HueLoose,
             "differences up to " + Digits(limit) + " are accepted" +
                 (limit > spec.maxDiff ? " instead of " + Digits(spec.maxDiff) : ""),
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

}  // namespace

void CheckLimits(const Subject& subject, const Probe& own, FindingList& list) {
  const TemplateSpec& spec = subject.spec;
  const Verdict& v = own.verdict;
  CheckDifference(spec, v, list);
  CheckScore(spec, v, list);
  CheckEdgeMin(subject.given.request.edgeMin, spec, v, list);
  if (spec.colorGate && !spec.redHint && !IsHueMode(spec.mode)) {
    list.Add(
        FindingCode::StructureWaived,
        "differences up to " + Digits(AcceptedDifference(v, spec)) + " are accepted, and nothing else counts",
        {{"difference", AcceptedDifference(v, spec)}});
  }
  if (IsHueMode(spec.mode)) CheckHue(spec, own, list);
}

}  // namespace quillmark::advice
