#include "core/RegionCut.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace quillmark {
namespace {

// A copy of a region's pixels, at template scale.
cv::Mat Cut(const cv::Mat& image, const cv::Rect& rect, double sx, double sy) {
  const cv::Mat region = image(rect);
  if (std::abs(sx - 1.0) <= 0.01 && std::abs(sy - 1.0) <= 0.01) return region.clone();
  const cv::Size size(std::max(RoundToPixel(rect.width / sx), 1),
                      std::max(RoundToPixel(rect.height / sy), 1));
  cv::Mat scaled;
  cv::resize(region, scaled, size, 0, 0, sx < 1.0 || sy < 1.0 ? cv::INTER_LINEAR : cv::INTER_AREA);
  return scaled;
}

}  // namespace

bool NeedsHsv(const TemplateSpec& spec) {
  return spec.mode == MatchMode::S || IsHueMode(spec.mode) || spec.colorGate || spec.redHint ||
         spec.vividFlat;
}

void ConvertFrame(const cv::Mat& bgra, bool needsHsv, FrameImages& images) {
  cv::cvtColor(bgra, images.bgr, cv::COLOR_BGRA2BGR);
  cv::cvtColor(images.bgr, images.gray, cv::COLOR_BGR2GRAY);
  if (!needsHsv) {
    images.hsv.release();
    return;
  }
  cv::cvtColor(images.bgr, images.hsv, cv::COLOR_BGR2HSV);
  cv::split(images.hsv, images.hsvPlanes);
}

RegionOnFrame PlaceRegion(const TemplateSpec& spec, const Rect& frame) {
  RegionOnFrame place;
  place.region = RegionOnDesktop(spec);
  place.visible = Intersect(place.region, frame);
  place.tmplSize = SizeOnDesktop(spec.tmplGray.size(), EffectiveScale(spec.targetScaleX),
                                 EffectiveScale(spec.targetScaleY));
  return place;
}

ROIUnit CutRegion(const TemplateSpec& spec, const RegionOnFrame& place, const FrameImages& images,
                  cv::Point origin) {
  const Rect& visible = place.visible;
  const cv::Rect rect(visible.left - origin.x, visible.top - origin.y, visible.right - visible.left,
                      visible.bottom - visible.top);
  ROIUnit unit;
  unit.x = visible.left;
  unit.y = visible.top;
  unit.right = visible.right;
  unit.bottom = visible.bottom;
  unit.clipped = place.Clipped();
  const double sx = unit.scaleX = EffectiveScale(spec.targetScaleX);
  const double sy = unit.scaleY = EffectiveScale(spec.targetScaleY);
  unit.gray = Cut(images.gray, rect, sx, sy);
  unit.bgr = Cut(images.bgr, rect, sx, sy);
  if (!images.hsv.empty()) {
    unit.hsv = Cut(images.hsv, rect, sx, sy);
    unit.sat = Cut(images.hsvPlanes[1], rect, sx, sy);
    unit.hue = Cut(images.hsvPlanes[0], rect, sx, sy);
  }
  return unit;
}

}  // namespace quillmark
