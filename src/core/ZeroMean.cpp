#include "core/ZeroMean.h"

namespace quillmark {

void ToZeroMeanFloat(const cv::Mat& source, cv::Mat& destination) {
  if (source.empty()) {
    destination.release();
    return;
  }
  source.convertTo(destination, CV_32F, 1.0 / 255.0);
  cv::subtract(destination, cv::Scalar(cv::mean(destination)[0]), destination);
}

}  // namespace quillmark
