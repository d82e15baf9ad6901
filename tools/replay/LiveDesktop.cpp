#include "replay/LiveDesktop.h"

#include <stdexcept>
#include <utility>

#include "app/DpiAwareness.h"
#include "capture/MonitorChoice.h"
#include "capture/SystemWindow.h"
#include "capture/TargetWindow.h"

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

BOOL CALLBACK Collect(HWND handle, LPARAM list) {
  if (::GetAncestor(handle, GA_ROOT) != handle) return TRUE;
  SystemWindow window(handle);
  RecordedWindow recorded;
  if (!window.OuterRect(recorded.outer)) return TRUE;  // it could not be chosen
  recorded.title = window.Title();
  recorded.program = window.ImageFile();
  recorded.visible = ::IsWindowVisible(handle) != FALSE;
  recorded.minimised = ::IsIconic(handle) != FALSE;
  if (!window.ClientArea(recorded.client)) recorded.client = {};
  recorded.scale = GetDpiScale(handle, ::MonitorFromWindow(handle, MONITOR_DEFAULTTONEAREST));
  reinterpret_cast<std::vector<RecordedWindow>*>(list)->push_back(std::move(recorded));
  return TRUE;
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
  ::EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows));
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
