// A second opinion on matching: every search and correlation by direct loops in double precision, and the
// whole decision as one straight run through its steps, sharing no code with the product's. Colour conversion
// and edge detection are the image library's, on copies of the placement.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>

#include "core/FrameJob.h"
#include "specs/TemplateSpec.h"

namespace quillmark::testing {

// The score of the template at every position, row by row.
class ScoreMap {
 public:
  ScoreMap() = default;
  ScoreMap(cv::Size positions, double value) : scores_(positions, CV_64F, cv::Scalar(value)) {}

  [[nodiscard]] bool Empty() const { return scores_.empty(); }
  [[nodiscard]] double& At(cv::Point at) { return scores_.at<double>(at); }
  [[nodiscard]] double At(cv::Point at) const { return scores_.at<double>(at); }
  [[nodiscard]] bool Has(cv::Point at) const { return cv::Rect(cv::Point(), scores_.size()).contains(at); }
  [[nodiscard]] cv::Size Size() const { return scores_.size(); }
  [[nodiscard]] cv::Point First(bool largest) const;

 private:
  cv::Mat scores_;
};

// Empty when the image cannot hold the template. Distances for the first two, similarity for the third.
ScoreMap NaiveSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl);
ScoreMap NaiveGraySqDiff(const cv::Mat& gray, const cv::Mat& tpl);
ScoreMap NaiveHueVec(const cv::Mat& hue, const cv::Mat& tpl);
// Zero-mean normalised correlation of two planes of one size (8-bit or float).
double NaiveCorrelation(const cv::Mat& a, const cv::Mat& b);

// What the straight run found. Figures that it did not come to are empty.
struct Judgement {
  int finishedAt = 0;   // number of the step that ended it, 1 to 9; 10 for a hit
  double margin = 1.0;  // least distance of any figure from its limit: how close the call was
  cv::Point loc;
  double dist = 1.0;
  // What single precision may add to or take from dist and chroma on planes of little contrast.
  double distError = 0.0, chromaError = 0.0;
  std::optional<double> chroma, ncc, e1, e2, density, redRatio, labA;
  std::optional<cv::Scalar> hsvMean;
  int cx = 0, cy = 0, w = 0, h = 0;
  double sq = 0.0, edge = 0.0;
  std::uint64_t dedupWindowMs = 0;
};

// `preferred` is taken as the placement when it scores as well as the best within 1e-5: single precision
// cannot tell such places apart.
Judgement Judge(const ROIUnit& unit, const TemplateSpec& spec, cv::Point preferred);

}  // namespace quillmark::testing
