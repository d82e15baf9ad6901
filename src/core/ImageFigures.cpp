#include "core/ImageFigures.h"

#include <opencv2/imgproc.hpp>

#include "core/ColorGate.h"

namespace quillmark {

MeanAndStdDev LevelsOf(const cv::Mat& gray) {
  cv::Scalar mean, stdDev;
  cv::meanStdDev(gray, mean, stdDev);
  return {mean[0], stdDev[0]};
}

double ShareOfNonZero(const cv::Mat& mask) {
  constexpr double noDivisionByZero = 1e-9;
  return cv::countNonZero(mask) / (static_cast<double>(mask.total()) + noDivisionByZero);
}

cv::Mat EdgesOf(const cv::Mat& gray) {
  cv::Mat edges;
  cv::Canny(gray, edges, 50, 150, 3, false);
  return edges;
}

cv::Mat DilatedEdges(const cv::Mat& edges) {
  cv::Mat dilated;
  cv::dilate(edges, dilated, MorphKernel3x3(), cv::Point(-1, -1), 1, cv::BORDER_CONSTANT,
             cv::morphologyDefaultBorderValue());
  return dilated;
}

void ToZeroMeanFloat(const cv::Mat& source, cv::Mat& destination) {
  if (source.empty()) {
    destination.release();
    return;
  }
  source.convertTo(destination, CV_32F, 1.0 / 255.0);
  cv::subtract(destination, cv::Scalar(cv::mean(destination)[0]), destination);
}

void MarkRed(const cv::Mat& hsv, cv::Mat& mask) {
  constexpr int hueLow = 10, hueHigh = 170, satMin = 80, valMin = 50;  // 8-bit units, hue 0 to 179
  BuildRedMaskHSV(hsv, mask, hueLow, hueHigh, satMin, valMin);
}

double MeanLabA(const cv::Mat& bgr, const cv::Rect& rect) {
  cv::Mat lab;
  cv::cvtColor(bgr(rect), lab, cv::COLOR_BGR2Lab);
  return cv::mean(lab)[1];
}

}  // namespace quillmark
