#include "live/Piece.h"

#include <algorithm>
#include <stdexcept>

#include "capture/TargetWindow.h"
#include "client/Command.h"
#include "core/RegionCut.h"
#include "core/RegionGeometry.h"
#include "live/MonitorCapture.h"
#include "text/Places.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::live {
namespace {

bool Contains(const Rect& outer, const Rect& inner) {
  return Intersect(outer, inner) == inner;
}

// A target for which the worker chooses this window.
std::wstring TargetFor(const DesktopWindow& window, std::vector<SystemWindow>& listed) {
  const std::wstring title = window.title.substr(0, client::TargetUnits);
  for (const std::wstring& text : {window.program, title}) {
    if (text.empty() || text.size() > client::TargetUnits) continue;
    if (text == window.program && !TargetText(text).ByImageName()) continue;
    const SystemWindow* const chosen = ChooseTarget(text, listed);
    if (chosen != nullptr && chosen->Handle() == window.handle) return text;
  }
  throw std::runtime_error(
      "\"" + Printable(window.title) +
      "\" cannot be distinguished from a larger window by its program or title; use --target");
}

const DesktopWindow& WindowUnder(const Rect& rect, const std::vector<DesktopWindow>& windows) {
  for (const DesktopWindow& window : windows) {
    if (window.Shown() && !IsEmpty(Intersect(window.outer, rect))) {
      if (Contains(window.outer, rect)) return window;
      throw std::runtime_error("the rectangle extends beyond \"" + Printable(window.title) + "\"");
    }
  }
  throw std::runtime_error("there is no window at the rectangle");
}

const DesktopWindow& WindowOf(HWND handle, const std::vector<DesktopWindow>& windows) {
  const auto found = std::ranges::find(windows, handle, &DesktopWindow::handle);
  if (found != windows.end()) return *found;
  throw std::runtime_error("the window was closed");
}

// The picked rectangle in pixels of the client area, clipped to it.
cv::Rect InClientArea(const Rect& picked, const TemplateSpec& bound, cv::Size client) {
  const auto scaled = [](int pixels, double scale) { return RoundToPixel(pixels / scale); };
  const int left = scaled(picked.left - bound.targetRect.left, bound.targetScaleX);
  const int top = scaled(picked.top - bound.targetRect.top, bound.targetScaleY);
  const int right = scaled(picked.right - bound.targetRect.left, bound.targetScaleX);
  const int bottom = scaled(picked.bottom - bound.targetRect.top, bound.targetScaleY);
  return cv::Rect(left, top, right - left, bottom - top) & cv::Rect(cv::Point(), client);
}

const DesktopMonitor& MonitorOf(const Rect& region, const std::vector<DesktopMonitor>& monitors) {
  const auto holds = [&](const DesktopMonitor& monitor) { return Contains(monitor.rect, region); };
  const auto found = std::ranges::find_if(monitors, holds);
  if (found != monitors.end()) return *found;
  throw std::runtime_error(
      "no monitor shows the whole area: it is off the screen or on several monitors; move the window");
}

}  // namespace

Piece CutPiece(const PieceChoice& choice) {
  constexpr auto Quiet = std::chrono::milliseconds(150);
  constexpr int Attempts = 3;
  TemplateSpec spec;
  spec.target = choice.target;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    std::optional<std::vector<SystemWindow>> listed = ListWindows();
    const std::vector<DesktopWindow> windows = Describe(*listed);
    const std::vector<DesktopMonitor> monitors = ListDesktopMonitors();
    if (monitors.empty()) throw std::runtime_error("there is no monitor");
    if (spec.target.empty()) spec.target = TargetFor(WindowUnder(choice.picked.value(), windows), *listed);
    spec.targetHwnd = nullptr;
    const TargetBinding binding = BindTarget(spec, listed);
    if (binding.outcome == BindingOutcome::NotFound) {
      throw std::runtime_error("no window on screen matches \"" + Printable(spec.target) +
                               "\"; quillmarkctl doctor lists all windows");
    }
    if (!binding.IsBound()) throw std::runtime_error("the window has no client area");

    Piece piece;
    piece.target = spec.target;
    piece.window = WindowOf(spec.targetHwnd, windows);
    piece.scale = spec.targetScaleX;
    const cv::Size client = ToCv(spec.targetRect).size();
    piece.client = {RoundToPixel(client.width / spec.targetScaleX),
                    RoundToPixel(client.height / spec.targetScaleY)};
    const cv::Rect all(cv::Point(), piece.client);
    piece.rect = choice.picked ? InClientArea(*choice.picked, spec, piece.client) : choice.rect.value_or(all);
    if (piece.rect.empty() || (piece.rect & all) != piece.rect) {
      throw std::runtime_error(
          "the area is not inside the client area of \"" + Printable(piece.window.title) + "\", which is " +
          std::to_string(piece.client.width) + "x" + std::to_string(piece.client.height));
    }
    spec.roi = piece.rect;
    const Rect region = RegionOnDesktop(spec);
    piece.monitor = MonitorOf(region, monitors);
    const MonitorPicture picture = TakePicture(piece.monitor.handle, Quiet);
    if (picture.bgra.empty()) throw std::runtime_error("the monitor cannot be captured: " + picture.fault);
    const RegionOnFrame place = PlaceRegion(spec, piece.monitor.rect);
    piece.bgr = CutRegion(spec, place, picture.bgra, {piece.monitor.rect.left, piece.monitor.rect.top}).bgr;

    const Exposure exposure = ExposureOf(region, piece.window.handle, windows, {piece.monitor.rect});
    piece.visible = exposure.visible;
    for (const DesktopWindow* cover : exposure.covers) piece.covers.push_back(*cover);

    TemplateSpec after = spec;
    UpdateTargetWindow(after);
    if (after.targetValid && after.targetRect == spec.targetRect) return piece;
  }
  throw std::runtime_error("the window keeps moving");
}

}  // namespace quillmark::live
