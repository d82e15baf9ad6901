// Zero-mean float images, for the correlation of edges.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark {

// Makes `destination` the 8-bit, one-channel `source` over 255, less its mean, as CV_32F. An empty source
// releases it. Threading: no shared state, callable from any thread.
void ToZeroMeanFloat(const cv::Mat& source, cv::Mat& destination);

}  // namespace quillmark
