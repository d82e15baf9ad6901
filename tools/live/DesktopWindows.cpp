#include "live/DesktopWindows.h"

#include <opencv2/core.hpp>

#include "core/RegionGeometry.h"
#include "live/Cloaked.h"
#include "text/Places.h"

namespace quillmark::live {

std::vector<DesktopWindow> Describe(std::vector<SystemWindow>& listed) {
  std::vector<DesktopWindow> windows;
  for (SystemWindow& window : listed) {
    Rect outer;
    if (!window.OuterRect(outer)) continue;
    const bool visible = window.Visible() && !IsCloaked(window.Handle());
    windows.push_back({window.Handle(), std::wstring(window.Title()), std::wstring(window.ImageFile()), outer,
                       visible, window.Minimised()});
  }
  return windows;
}

Exposure ExposureOf(const Rect& area, HWND window, const std::vector<DesktopWindow>& windows,
                    const std::vector<Rect>& screens) {
  constexpr unsigned char OffScreen = 0, Visible = 1, Covered = 2;
  cv::Mat map(ToCv(area).size(), CV_8UC1, cv::Scalar(OffScreen));
  const auto paint = [&](const Rect& rect, unsigned char from, unsigned char to) {
    const Rect part = Intersect(rect, area);
    if (IsEmpty(part)) return false;
    cv::Mat piece = map(ToCv(part) - cv::Point(area.left, area.top));
    const cv::Mat hit = piece == from;
    piece.setTo(to, hit);
    return cv::countNonZero(hit) != 0;
  };
  for (const Rect& screen : screens) paint(screen, OffScreen, Visible);

  Exposure exposure;
  for (const DesktopWindow& other : windows) {
    if (other.handle == window) break;  // the rest is below
    if (other.Shown() && paint(other.outer, Visible, Covered)) exposure.covers.push_back(&other);
  }
  const auto share = [&](unsigned char value) {
    return cv::countNonZero(map == value) / static_cast<double>(map.total());
  };
  exposure.visible = share(Visible);
  exposure.covered = share(Covered);
  exposure.offScreen = share(OffScreen);
  return exposure;
}

}  // namespace quillmark::live
