#include "replay/LiveDesktop.h"

#include <exception>
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
  for (std::size_t i = 0; i < entries.size(); ++i) {
    contexts.push_back(std::make_unique<DuplicationContext>());
    try {
      contexts[i]->Init(entries[i].monitor);
    } catch (const std::runtime_error& error) {
      contexts[i].reset();
      faults.push_back(monitors[i].id + ": " + error.what());
    }
  }
}

bool LiveDesktop::HasChanged() const {
  return MonitorsOf(ListMonitors()) != monitors;
}

std::vector<RecordedWindow> LiveDesktop::Windows() {
  std::vector<RecordedWindow> windows;
  ::EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

bool LiveDesktop::Acquire(std::size_t monitor, cv::Mat& bgra) {
  DuplicationContext* const context = contexts[monitor].get();
  cv::Mat frame;
  if (context == nullptr || !context->AcquireFrame(frame)) return false;
  try {
    bgra = frame.clone();
  } catch (...) {
    context->ReleaseFrame();
    throw;
  }
  context->ReleaseFrame();
  return true;
}

}  // namespace quillmark::replay
