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
    double least = 0.0, most = 0.0;
    cv::minMaxLoc(channel, &least, &most);
    return least == most;
  });
}

std::string Describe(const DesktopMonitor& monitor) {
  char text[160];
  std::snprintf(text, sizeof text, "monitor %d (%s): %dx%d at %d,%d, %u dpi (%.0f %%)%s%s", monitor.number,
                client::ToUtf8(monitor.device).c_str(), monitor.Width(), monitor.Height(), monitor.rect.left,
                monitor.rect.top, monitor.dpi, std::round(monitor.dpi / 0.96),
                monitor.turn == 0 ? "" : (", turned by " + std::to_string(monitor.turn) + " degrees").c_str(),
                monitor.primary ? ", primary" : "");
  return text;
}

Finding Examine(const DesktopMonitor& monitor) {
  Finding finding{.topic = "monitor", .text = Describe(monitor)};
  const live::MonitorPicture picture = live::TakePicture(monitor.handle);
  const bool taken = !picture.bgra.empty();
  finding.facts = {{"number", monitor.number},   {"device", client::ToUtf8(monitor.device)},
                   {"x", monitor.rect.left},     {"y", monitor.rect.top},
                   {"w", monitor.Width()},       {"h", monitor.Height()},
                   {"dpi", monitor.dpi},         {"turn", monitor.turn},
                   {"primary", monitor.primary}, {"captured", taken}};
  if (!taken) {
    finding.level = Level::Problem;
    finding.text += "; it cannot be captured: " + picture.fault;
    finding.consequence = "the specs whose windows lie on it give no hits";
    finding.remedy =
        "unlock the screen, check the other findings on session and display, and see whether too many "
        "programs capture it";
  } else if (IsOneColour(picture.bgra)) {
    finding.level = Level::Warning;
    finding.text += "; its picture is of one single colour";
    finding.consequence = "nothing can be found in it";
    finding.remedy = "look whether the screen is off, locked or empty";
  }
  return finding;
}

Finding Overlap(const DesktopMonitor& first, const DesktopMonitor& second) {
  return {.level = Level::Warning,
          .topic = "monitor",
          .text = "monitors " + std::to_string(first.number) + " and " + std::to_string(second.number) +
                  " show the same part of the desktop",
          .consequence = "what lies there is searched on both, at twice the cost",
          .remedy = "pin specs to one of them, as in NAME:mon=" + std::to_string(first.number)};
}

}  // namespace

Findings ExamineMonitors() {
  const std::vector<DesktopMonitor> monitors = live::ListDesktopMonitors();
  if (monitors.empty()) {
    return {{.level = Level::Problem,
             .topic = "monitor",
             .text = "there is no monitor",
             .consequence = "nothing is captured",
             .remedy = "see the findings on session and display"}};
  }
  Findings findings;
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    findings.push_back(Examine(monitors[i]));
    for (std::size_t j = 0; j < i; ++j) {
      if (!IsEmpty(Intersect(monitors[i].rect, monitors[j].rect))) {
        findings.push_back(Overlap(monitors[j], monitors[i]));
      }
    }
  }
  return findings;
}

}  // namespace quillmark::control
