// Marks the red pixels of an HSV image. Red lies at both ends of the hue scale: two hue bands, with a minimum
// saturation and brightness. Also provides the structuring element for dilation.
//
// Threading: callable from any thread at the same time; each thread has its own structuring element.
#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace quillmark {

// Makes `mask` an 8UC1 image of the size of `hsv` (8UC3): 255 where (H <= hueLow or hueHigh <= H <= 180),
// S >= satMin and V >= valMin, else 0. An empty image or any other type raises cv::Exception (StsAssert) and
// leaves `mask` unchanged.
inline void BuildRedMaskHSV(const cv::Mat& hsv, cv::Mat& mask, int hueLow, int hueHigh, int satMin,
                            int valMin) {
  CV_Assert(hsv.type() == CV_8UC3);
  cv::Mat planes[3];
  cv::split(hsv, planes);

  cv::Mat high, pass;
  cv::inRange(planes[0], cv::Scalar(0), cv::Scalar(hueLow), mask);
  cv::inRange(planes[0], cv::Scalar(hueHigh), cv::Scalar(180.0), high);
  cv::bitwise_or(mask, high, mask);
  cv::compare(planes[1], static_cast<double>(satMin), pass, cv::CMP_GE);
  cv::bitwise_and(mask, pass, mask);
  cv::compare(planes[2], static_cast<double>(valMin), pass, cv::CMP_GE);
  cv::bitwise_and(mask, pass, mask);
}

// The calling thread's 3x3 matrix of ones, anchored at its centre. Do not write to it.
inline const cv::Mat& MorphKernel3x3() {
  thread_local const cv::Mat kernel =
      cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3), cv::Point(-1, -1));
  return kernel;
}

}  // namespace quillmark
