#include <opencv2/imgproc.hpp>

#include "core/Gates.h"

namespace quillmark {

GateResult ChromaGate(const cv::Mat& bgr, const cv::Rect& rect, const TemplateSpec& spec) {
  const cv::Mat none;
  const cv::Mat& tmpl = spec.chromaChannel == 1 ? spec.tmplCr : spec.chromaChannel == 2 ? spec.tmplCb : none;
  if (tmpl.empty()) return NotMeasured(Because::NoChroma);
  cv::Mat ycrcb, plane, correlation;
  cv::cvtColor(bgr(rect), ycrcb, cv::COLOR_BGR2YCrCb);
  cv::extractChannel(ycrcb, plane, spec.chromaChannel);
  cv::matchTemplate(plane, tmpl, correlation, cv::TM_CCOEFF_NORMED);
  return AtLeast(correlation.at<float>(0, 0), Limit(Rule::Spec, spec.chromaMin));
}

}  // namespace quillmark
