#include <algorithm>
#include <cmath>
#include <cstdio>
#include <opencv2/core.hpp>

#include "client/Text.h"
#include "core/RegionGeometry.h"
#include "doctor/Doctor.h"
#include "live/DesktopMonitors.h"
#include "live/MonitorCapture.h"

namespace quillmark::control {
namespace {

using live::DesktopMonitor;

bool IsOneColour(const cv::Mat& bgra) {
  cv::Mat channels[4];
  cv::split(bgra, channels);
  return std::all_of(channels, channels + 3, [](const cv::Mat& channel) {
    double min = 0.0, max = 0.0;
    cv::minMaxLoc(channel, &min, &max);
    return min == max;
  });
}

std::string Describe(const DesktopMonitor& monitor) {
  char text[160];
  std::snprintf(
      text, sizeof text, "monitor %d (%s): %dx%d at %d,%d, %u dpi (%.0f %%)%s%s", monitor.number,
      client::ToUtf8(monitor.device).c_str(), monitor.Width(), monitor.Height(), monitor.rect.left,
      monitor.rect.top, monitor.dpi, std::round(monitor.dpi / 0.96),
      monitor.turn == 0 ? "" : (", rotated by " + std::to_string(monitor.turn) + " degrees").c_str(),
      monitor.primary ? ", primary" : "");
  return text;
}

Check Examine(const DesktopMonitor& monitor) {
  Check check{.topic = "monitor", .text = Describe(monitor)};
  const live::MonitorPicture picture = live::TakePicture(monitor.handle);
  const bool taken = !picture.bgra.empty();
  check.facts = {{"number", monitor.number},   {"device", client::ToUtf8(monitor.device)},
                 {"x", monitor.rect.left},     {"y", monitor.rect.top},
                 {"w", monitor.Width()},       {"h", monitor.Height()},
                 {"dpi", monitor.dpi},         {"turn", monitor.turn},
                 {"primary", monitor.primary}, {"captured", taken}};
  if (!taken) {
    check.level = Level::Problem;
    check.text += "; capture failed: " + picture.fault;
    check.consequence = "specs with windows on it get no hits";
    check.remedy =
        "unlock the screen, fix any problems with session and display, and check whether too many programs "
        "capture it";
  } else if (IsOneColour(picture.bgra)) {
    check.level = Level::Warning;
    check.text += "; its picture has only one colour";
    check.consequence = "no template can match";
    check.remedy = "check whether the screen is off, locked or empty";
  }
  return check;
}

Check Overlap(const DesktopMonitor& first, const DesktopMonitor& second) {
  return {.level = Level::Warning,
          .topic = "monitor",
          .text = "monitors " + std::to_string(first.number) + " and " + std::to_string(second.number) +
                  " show the same part of the desktop",
          .consequence = "that part is searched twice",
          .remedy = "restrict specs to one of them, as in NAME:mon=" + std::to_string(first.number)};
}

}  // namespace

Checks ExamineMonitors() {
  const std::vector<DesktopMonitor> monitors = live::ListDesktopMonitors();
  if (monitors.empty()) {
    return {{.level = Level::Problem,
             .topic = "monitor",
             .text = "no monitor found",
             .consequence = "nothing is captured",
             .remedy = "fix any problems with session and display"}};
  }
  Checks checks;
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    checks.push_back(Examine(monitors[i]));
    for (std::size_t j = 0; j < i; ++j) {
      if (!IsEmpty(Intersect(monitors[i].rect, monitors[j].rect))) {
        checks.push_back(Overlap(monitors[j], monitors[i]));
      }
    }
  }
  return checks;
}

}  // namespace quillmark::control
