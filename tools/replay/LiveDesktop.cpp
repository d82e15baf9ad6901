#include "replay/LiveDesktop.h"

#include <stdexcept>
#include <utility>

#include "app/frame/DpiAwareness.h"
#include "capture/MonitorChoice.h"
#include "capture/SystemWindow.h"

namespace quillmark::replay {
namespace {

std::vector<RecordedMonitor> MonitorsOf(const std::vector<MonitorEntry>& entries) {
  std::vector<RecordedMonitor> monitors;
  for (const MonitorEntry& entry : entries) {
    const RECT& rect = entry.rcMonitor;
    monitors.push_back({"monitor-" + std::to_string(monitors.size() + 1),
                        {static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(rect.top),
                         static_cast<std::int32_t>(rect.right), static_cast<std::int32_t>(rect.bottom)}});
  }
  return monitors;
}

}  // namespace

LiveDesktop::LiveDesktop() {
  EnableDpiAwareness();
  const std::vector<MonitorEntry> entries = ListMonitors();
  if (entries.empty()) throw std::runtime_error("there is no monitor");
  monitors = MonitorsOf(entries);
  noted.resize(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    captures.emplace_back(entries[i].monitor);
    if (!captures[i].Open()) NoteFault(i);
  }
}

bool LiveDesktop::HasChanged() {
  const std::vector<MonitorEntry> entries = ListMonitors();
  if (entries.empty()) return false;
  if (MonitorsOf(entries) != monitors) return true;
  for (std::size_t i = 0; i < entries.size(); ++i) captures[i].Follow(entries[i].monitor);
  return false;
}

std::vector<RecordedWindow> LiveDesktop::Windows() {
  std::vector<RecordedWindow> windows;
  for (SystemWindow& window : ListWindows()) {
    RecordedWindow recorded;
    if (!window.OuterRect(recorded.outer)) continue;  // it cannot be chosen
    recorded.title = window.Title();
    recorded.program = window.ImageFile();
    recorded.visible = window.Visible();
    recorded.minimised = window.Minimised();
    recorded.client = window.ClientArea().value_or(Rect());
    recorded.scale = window.Scale(window.Monitor());
    windows.push_back(std::move(recorded));
  }
  return windows;
}

CaptureOutcome LiveDesktop::Acquire(std::size_t monitor, cv::Mat& bgra) {
  const CaptureOutcome outcome = captures[monitor].Acquire(bgra);
  if (outcome.IsFault()) NoteFault(monitor);
  return outcome;
}

void LiveDesktop::NoteFault(std::size_t monitor) {
  if (noted[monitor]) return;
  noted[monitor] = true;
  faults.push_back(monitors[monitor].id + ": " + captures[monitor].Fault());
}

}  // namespace quillmark::replay
