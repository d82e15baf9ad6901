// Cuts a spec's region out of a frame or screenshot: converts the picture, locates the region on it, and
// makes the crops at template scale.
//
// Threading: no shared state; callable from any thread.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "core/FrameJob.h"
#include "core/RegionGeometry.h"

namespace quillmark {

// The planes of one picture, in buffers that are reused.
struct FrameImages {
  cv::Mat bgr, gray;               // 8UC3, 8UC1
  cv::Mat hsv;                     // 8UC3; empty when not needed
  std::vector<cv::Mat> hsvPlanes;  // of `hsv`
};

// Whether the spec's regions are compared by hue or saturation.
[[nodiscard]] bool NeedsHsv(const TemplateSpec& spec);

// `bgra` is 8UC4; its fourth byte is ignored.
void ConvertFrame(const cv::Mat& bgra, bool needsHsv, FrameImages& images);

// A spec's region, in desktop pixels.
struct RegionOnFrame {
  Rect region;        // cut to the target's client area
  Rect visible;       // the part that the frame shows
  cv::Size tmplSize;  // the template's, on the desktop

  [[nodiscard]] bool Clipped() const { return visible != region; }
  [[nodiscard]] bool OffFrame() const { return IsEmpty(visible); }
  [[nodiscard]] bool HoldsTemplate() const {
    return visible.right - visible.left >= tmplSize.width && visible.bottom - visible.top >= tmplSize.height;
  }
};

// `frame` is the picture's rectangle on the desktop. The spec's target must be bound.
[[nodiscard]] RegionOnFrame PlaceRegion(const TemplateSpec& spec, const Rect& frame);

// Cuts the visible part, which must not be empty, out of the picture with its top-left corner at `origin` on
// the desktop. The caller sets the unit's specIndex.
[[nodiscard]] ROIUnit CutRegion(const TemplateSpec& spec, const RegionOnFrame& place,
                                const FrameImages& images, cv::Point origin);

}  // namespace quillmark
