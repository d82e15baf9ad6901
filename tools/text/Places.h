// Sizes, points and rectangles as people read them: "30 x 20 at 4,5".
//
// Threading: free functions without state.
#pragma once

#include <opencv2/core.hpp>
#include <string>

#include "specs/TemplateSpec.h"

namespace quillmark {

inline cv::Rect ToCv(const Rect& rect) {
  return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

inline std::string SizeText(cv::Size size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}
inline std::string PointText(cv::Point point) {
  return std::to_string(point.x) + "," + std::to_string(point.y);
}
inline std::string RectText(const cv::Rect& rect) {
  return SizeText(rect.size()) + " at " + PointText(rect.tl());
}
inline std::string RectText(const Rect& rect) {
  return RectText(ToCv(rect));
}

}  // namespace quillmark
