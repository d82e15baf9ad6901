#include "capture/MonitorChoice.h"

#include "core/RegionGeometry.h"

namespace quillmark {
namespace {

Rect ToRect(const RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

// `list` is a std::vector<MonitorEntry>*.
BOOL CALLBACK CollectMonitors(HMONITOR monitor, HDC, RECT*, LPARAM list) {
  MONITORINFOEXW info{};
  info.cbSize = sizeof(info);
  if (::GetMonitorInfoW(monitor, &info)) {
    reinterpret_cast<std::vector<MonitorEntry>*>(list)->push_back({monitor, info.rcMonitor});
  }
  return TRUE;
}

// Null if there is none.
HMONITOR PinnedMonitor(std::int32_t pin, const Rect& region, const std::vector<MonitorEntry>& monitors,
                       const MonitorAnswers& answers) {
  if (pin == -1) return answers.primary();
  if (pin >= 1 && static_cast<std::size_t>(pin) <= monitors.size()) return monitors[pin - 1].monitor;
  return answers.nearest(region);
}

}  // namespace

std::vector<MonitorEntry> ListMonitors() {
  std::vector<MonitorEntry> monitors;
  ::EnumDisplayMonitors(nullptr, nullptr, &CollectMonitors, reinterpret_cast<LPARAM>(&monitors));
  return monitors;
}

const MonitorAnswers& SystemMonitors() {
  static const MonitorAnswers answers{[] {
                                        return ::MonitorFromPoint(POINT{0, 0}, MONITOR_DEFAULTTOPRIMARY);
                                      },
                                      [](const Rect& region) {
                                        const RECT rect{region.left, region.top, region.right, region.bottom};
                                        return ::MonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST);
                                      }};
  return answers;
}

std::vector<HMONITOR> MonitorsOf(const TemplateSpec& spec, const Rect& region,
                                 const std::vector<MonitorEntry>& monitors, const MonitorAnswers& answers) {
  std::vector<HMONITOR> chosen;
  if (spec.monitorPin != 0) {
    if (const HMONITOR monitor = PinnedMonitor(spec.monitorPin, region, monitors, answers))
      chosen.push_back(monitor);
    return chosen;
  }
  for (const MonitorEntry& entry : monitors) {
    if (!IsEmpty(Intersect(ToRect(entry.rcMonitor), region))) chosen.push_back(entry.monitor);
  }
  return chosen;
}

}  // namespace quillmark
