#include "live/DesktopMonitors.h"

#include <dxgi1_2.h>

#include <map>

#include "capture/ComPtr.h"
#include "capture/Dpi.h"
#include "capture/MonitorChoice.h"

namespace quillmark::live {
namespace {

int DegreesOf(DXGI_MODE_ROTATION rotation) {
  return rotation == DXGI_MODE_ROTATION_ROTATE90    ? 90
         : rotation == DXGI_MODE_ROTATION_ROTATE180 ? 180
         : rotation == DXGI_MODE_ROTATION_ROTATE270 ? 270
                                                    : 0;
}

// The rotation of each monitor on a graphics adapter.
std::map<HMONITOR, int> Turns() {
  std::map<HMONITOR, int> turns;
  ComPtr<IDXGIFactory1> factory;
  if (FAILED(::CreateDXGIFactory1(IID_PPV_ARGS(factory.Put())))) return turns;
  ComPtr<IDXGIAdapter1> adapter;
  for (UINT a = 0; SUCCEEDED(factory->EnumAdapters1(a, adapter.Put())); ++a) {
    ComPtr<IDXGIOutput> output;
    for (UINT o = 0; SUCCEEDED(adapter->EnumOutputs(o, output.Put())); ++o) {
      DXGI_OUTPUT_DESC desc{};
      if (SUCCEEDED(output->GetDesc(&desc))) turns[desc.Monitor] = DegreesOf(desc.Rotation);
    }
  }
  return turns;
}

}  // namespace

std::vector<DesktopMonitor> ListDesktopMonitors() {
  const std::map<HMONITOR, int> turns = Turns();
  std::vector<DesktopMonitor> monitors;
  for (const MonitorEntry& entry : ListMonitors()) {
    MONITORINFOEXW info{};
    info.cbSize = sizeof(info);
    if (!::GetMonitorInfoW(entry.monitor, &info)) continue;
    DesktopMonitor monitor;
    monitor.handle = entry.monitor;
    monitor.number = static_cast<int>(monitors.size()) + 1;
    monitor.rect = {entry.rcMonitor.left, entry.rcMonitor.top, entry.rcMonitor.right, entry.rcMonitor.bottom};
    monitor.primary = (info.dwFlags & MONITORINFOF_PRIMARY) != 0;
    monitor.dpi = GetMonitorDpi(entry.monitor);
    if (const auto turn = turns.find(entry.monitor); turn != turns.end()) monitor.turn = turn->second;
    monitor.device = info.szDevice;
    monitors.push_back(std::move(monitor));
  }
  return monitors;
}

}  // namespace quillmark::live
