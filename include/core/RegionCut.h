// Locates a spec's region on a frame or screenshot and cuts it out.
//
// Threading: no shared state; callable from any thread.
#pragma once

#include <opencv2/core.hpp>

#include "core/FrameJob.h"
#include "core/RegionGeometry.h"

namespace quillmark {

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

// The unit of the visible part, which must not be empty, without planes. The caller sets specIndex.
[[nodiscard]] ROIUnit UnitAt(const TemplateSpec& spec, const RegionOnFrame& place);

// The same with its planes, cut out of a picture (8UC4, the fourth byte is ignored) with its top-left corner
// at `origin` on the desktop: for tools, so with bgr always and with hsv on demand, whatever the spec needs.
[[nodiscard]] ROIUnit CutRegion(const TemplateSpec& spec, const RegionOnFrame& place, const cv::Mat& bgra,
                                cv::Point origin, bool withHsv = false);

}  // namespace quillmark
