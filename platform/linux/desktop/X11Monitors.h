// Reads the monitors of an X screen: RandR's active monitors in enumeration order, clipped to the root window
// and shifted so that the primary one's top-left corner is (0, 0).
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
  std::vector<MonitorFacts> monitors;  // ids are 0: numbering is the desktop's
  POINT rootOrigin{};                  // root coordinates of the desktop's (0, 0)
  std::uint16_t rootWidth = 0, rootHeight = 0;
};

// Asks for the events that tell of changes: RandR's, and ConfigureNotify on the root window, the only one for
// monitors that a user defines. `rootEvents` are selected on the root besides. False without RandR 1.5.
bool SelectMonitorEvents(XcbConnection& connection, std::uint32_t rootEvents);

// Whether the event is one of those. They come in bursts, some with old sizes: re-read after each.
bool IsMonitorEvent(XcbConnection& connection, const xcb_generic_event_t& event);

// Nothing when the connection is lost. `randr` is the answer of SelectMonitorEvents; without it the root
// window is the one monitor.
std::optional<MonitorLayout> ReadMonitors(XcbConnection& connection, bool randr);

// The value of Xft.dpi in the text of the root window's RESOURCE_MANAGER property, 96 when it has none.
std::uint32_t DpiFromResources(const std::string& resources);

}  // namespace quillmark::layer
