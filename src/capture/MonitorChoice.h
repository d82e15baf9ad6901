// The monitors of the desktop, and those on which a spec's region is searched.
//
// Threading: callable from any thread.
#pragma once

#include <windows.h>

#include <functional>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

struct MonitorEntry {
  HMONITOR monitor = nullptr;
  RECT rcMonitor{};  // full rectangle, desktop pixels

  friend bool operator==(const MonitorEntry& a, const MonitorEntry& b) {
    const RECT &p = a.rcMonitor, &q = b.rcMonitor;
    return a.monitor == b.monitor && p.left == q.left && p.top == q.top && p.right == q.right &&
           p.bottom == q.bottom;
  }
};

// In the system's order. A monitor that cannot be measured is left out.
[[nodiscard]] std::vector<MonitorEntry> ListMonitors();

// Questions that the list of monitors does not answer; null if there is no monitor.
struct MonitorAnswers {
  std::function<HMONITOR()> primary;
  std::function<HMONITOR(const Rect& region)> nearest;
};
[[nodiscard]] const MonitorAnswers& SystemMonitors();

// The spec's pinned monitor, wherever the region is; without a pin, all monitors that the region touches.
// `region` is in desktop pixels and not empty.
[[nodiscard]] std::vector<HMONITOR> MonitorsOf(const TemplateSpec& spec, const Rect& region,
                                               const std::vector<MonitorEntry>& monitors,
                                               const MonitorAnswers& answers = SystemMonitors());

}  // namespace quillmark
