// A reference for searches and correlations: direct loops in double precision, without the product's code.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark::testing {

// The template's difference at every position, CV_64F. The image must be able to hold the template. Squared
// differences of 8-bit images are sums of integers and so exact.
cv::Mat NaiveSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl);
cv::Mat NaiveGraySqDiff(const cv::Mat& gray, const cv::Mat& tpl);
cv::Mat NaiveHueVec(const cv::Mat& hue, const cv::Mat& tpl);
// Zero-mean normalised correlation of two planes of the same size (8-bit or float).
double NaiveCorrelation(const cv::Mat& a, const cv::Mat& b);

}  // namespace quillmark::testing
