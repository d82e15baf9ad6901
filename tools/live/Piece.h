// A piece of a window's client area, cut out of the screen as the worker would cut it: what becomes a
// template.
//
// Threading: one thread; blocks until the screen has been still for a moment, or two seconds have passed.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "live/DesktopMonitors.h"
#include "live/DesktopWindows.h"
#include "specs/TemplateSpec.h"

namespace quillmark::live {

struct PieceChoice {
  std::wstring target{};           // as in a spec; empty: found by the picked rectangle
  std::optional<cv::Rect> rect{};  // in pixels of the client area; none: all of it
  std::optional<Rect> picked{};    // in place of it, in desktop pixels
};

struct Piece {
  cv::Mat bgr;          // 8UC3, at template scale
  std::wstring target;  // a text by which a spec finds this window
  DesktopWindow window;
  cv::Rect rect;       // pixels of the client area, at template scale
  cv::Size client;     // its size, likewise
  double scale = 1.0;  // desktop pixels for one of these
  DesktopMonitor monitor;
  double visible = 1.0;  // share of the piece that no other window covers
  std::vector<DesktopWindow> covers;
};

// Raises std::runtime_error, saying what to do, when there is no such window, the piece does not lie in its
// client area on one monitor, or that monitor cannot be captured.
[[nodiscard]] Piece CutPiece(const PieceChoice& choice);

}  // namespace quillmark::live
