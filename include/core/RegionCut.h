// From a picture of the screen to the region that is compared: the picture's planes, where a spec's region
// lies on it, and the crops at template scale.
//
// Threading: no shared state; callable from any thread.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "core/FrameJob.h"
#include "core/RegionGeometry.h"

namespace quillmark {

// The planes of one picture. Filled again and again, it keeps its buffers.
struct FrameImages {
  cv::Mat bgr, gray;               // 8UC3, 8UC1
  cv::Mat hsv;                     // 8UC3; empty when nobody needs it
  std::vector<cv::Mat> hsvPlanes;  // of `hsv`
};

// Whether a region of the spec is compared by hue or saturation.
[[nodiscard]] bool NeedsHsv(const TemplateSpec& spec);

// `bgra` is 8UC4; its fourth byte means nothing.
void ConvertFrame(const cv::Mat& bgra, bool needsHsv, FrameImages& images);

// A spec's region, in desktop pixels.
struct RegionOnFrame {
  Rect region;        // cut to the target's client area
  Rect visible;       // what the frame shows of that
  cv::Size tmplSize;  // of the template on the desktop

  [[nodiscard]] bool OffFrame() const { return IsEmpty(visible); }
  [[nodiscard]] bool HoldsTemplate() const {
    return visible.right - visible.left >= tmplSize.width && visible.bottom - visible.top >= tmplSize.height;
  }
};

// `frame` is the place of the picture on the desktop, the spec's target is bound.
[[nodiscard]] RegionOnFrame PlaceRegion(const TemplateSpec& spec, const Rect& frame);

// The visible part, which must not be empty, out of the picture whose top-left corner lies at `origin` on the
// desktop. The unit's crops own their pixels; its specIndex is the caller's.
[[nodiscard]] ROIUnit CutRegion(const TemplateSpec& spec, const RegionOnFrame& place,
                                const FrameImages& images, cv::Point origin);

}  // namespace quillmark
