// Zero-mean float images, the form in which edge images are correlated.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark {

// Makes `destination` the 8-bit, one-channel `source` as CV_32F over 255, less its mean, so that an edge
// image of 0 and 255 has values near -m and 1 - m. An empty source releases the destination. Threading: no
// shared state, callable from any thread.
void ToZeroMeanFloat(const cv::Mat& source, cv::Mat& destination);

}  // namespace quillmark
