// Cuts a piece of a window's client area out of the screen, as the worker would, for a template.
//
// Threading: one thread; blocks until the screen has been still for a moment, at most two seconds.
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
  std::wstring target{};           // as in a spec; empty: the window at `picked`
  std::optional<cv::Rect> rect{};  // in pixels of the client area; none: all of it
  std::optional<Rect> picked{};    // instead of `rect`, in desktop pixels
};

struct Piece {
  cv::Mat bgr;          // 8UC3, at template scale
  std::wstring target;  // selects this window in a spec
  DesktopWindow window;
  cv::Rect rect;       // pixels of the client area, at template scale
  cv::Size client;     // size of the client area, likewise
  double scale = 1.0;  // desktop pixels per pixel of these
  DesktopMonitor monitor;
  double visible = 1.0;  // share of the piece that no other window covers
  std::vector<DesktopWindow> covers;
};

// Raises std::runtime_error, for users, when there is no such window, the piece is not inside its client area
// and on one monitor, or that monitor cannot be captured.
[[nodiscard]] Piece CutPiece(const PieceChoice& choice);

}  // namespace quillmark::live
