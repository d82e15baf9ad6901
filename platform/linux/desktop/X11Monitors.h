// Reads the monitors of an X screen: RandR's active monitors in its order, clipped to the root window and
// shifted so that the primary monitor's top-left corner is (0, 0).
//
// Threading: one thread at a time for a connection, since replies are waited for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desktop/Desktop.h"
#include "desktop/XcbConnection.h"

namespace quillmark::layer {

struct MonitorLayout {
  std::vector<MonitorFacts> monitors;  // ids are 0; the desktop assigns them
  POINT rootOrigin{};                  // root coordinates of the desktop's (0, 0)
  std::uint16_t rootWidth = 0, rootHeight = 0;
};

// Selects the events of monitor changes: RandR's, and ConfigureNotify on the root window, the only one for
// user-defined monitors. Also selects `rootEvents` on the root window. False without RandR 1.5.
bool SelectMonitorEvents(XcbConnection& connection, std::uint32_t rootEvents);

// Whether the event is one of these. They come in bursts, some with old sizes: read the monitors after each.
bool IsMonitorEvent(XcbConnection& connection, const xcb_generic_event_t& event);

// Nothing when the connection is lost. `randr` is the result of SelectMonitorEvents; without it, the root
// window is the only monitor.
std::optional<MonitorLayout> ReadMonitors(XcbConnection& connection, bool randr);

// Xft.dpi in the root window's RESOURCE_MANAGER property; 96 when it is missing or invalid.
std::uint32_t DpiFromResources(const std::string& resources);

}  // namespace quillmark::layer
