// A reference for the searches and correlations: direct loops in double precision that share no code with the
// product's.
#pragma once

#include <opencv2/core.hpp>

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

}  // namespace quillmark::testing
