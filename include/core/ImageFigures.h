// Computes figures and edge images in the same way for a template when it is prepared and for a region when
// it is compared.
//
// Threading: no shared state, callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark {

struct MeanAndStdDev {
  double mean = 0.0, stdDev = 0.0;
};
// Mean and standard deviation of an 8UC1 image.
[[nodiscard]] MeanAndStdDev LevelsOf(const cv::Mat& gray);

// Share of non-zero pixels (8UC1); 0 for an empty image.
[[nodiscard]] double ShareOfNonZero(const cv::Mat& mask);

// Edges of a grey image (8UC1), 255 on an edge, and the same dilated by a pixel.
[[nodiscard]] cv::Mat EdgesOf(const cv::Mat& gray);
[[nodiscard]] cv::Mat DilatedEdges(const cv::Mat& edges);

// BuildRedMaskHSV with the bounds used for templates and regions.
void MarkRed(const cv::Mat& hsv, cv::Mat& mask);

// Makes `destination` the 8-bit, one-channel `source` over 255, minus its mean, as CV_32F: the form in which
// edge images are correlated. An empty source releases it.
void ToZeroMeanFloat(const cv::Mat& source, cv::Mat& destination);

// Mean of the 8-bit a* plane over `rect` of a BGR image (8UC3), 128 is neutral.
[[nodiscard]] double MeanLabA(const cv::Mat& bgr, const cv::Rect& rect);

}  // namespace quillmark
