#include "desktop/X11Monitors.h"

#include <xcb/randr.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "host/Text.h"

namespace quillmark::layer {
namespace {

constexpr std::uint32_t kMaxResourceWords = 1u << 16;
constexpr std::size_t kMaxDeviceName = CCHDEVICENAME - 1;

RECT Clipped(RECT rect, const xcb_get_geometry_reply_t& root) {
  rect.left = std::max<LONG>(rect.left, 0);
  rect.top = std::max<LONG>(rect.top, 0);
  rect.right = std::min<LONG>(rect.right, root.width);
  rect.bottom = std::min<LONG>(rect.bottom, root.height);
  return rect;
}

bool Empty(const RECT& rect) {
  return rect.left >= rect.right || rect.top >= rect.bottom;
}

// RandR's monitors in root coordinates, unclipped.
std::vector<MonitorFacts> ListMonitors(XcbConnection& connection, xcb_randr_get_monitors_cookie_t request) {
  std::vector<MonitorFacts> monitors;
  const XcbReply<xcb_randr_get_monitors_reply_t> reply(
      xcb_randr_get_monitors_reply(connection, request, nullptr));
  if (!reply) return monitors;
  std::vector<xcb_get_atom_name_cookie_t> names;
  for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem > 0;
       xcb_randr_monitor_info_next(&it)) {
    const auto& info = *it.data;
    MonitorFacts facts;
    facts.rect = {info.x, info.y, info.x + info.width, info.y + info.height};
    facts.primary = info.primary != 0;
    monitors.push_back(std::move(facts));
    names.push_back(xcb_get_atom_name(connection, info.name));
  }
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    const XcbReply<xcb_get_atom_name_reply_t> name(xcb_get_atom_name_reply(connection, names[i], nullptr));
    if (!name) continue;
    const auto length = static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get()));
    monitors[i].deviceName = FromUtf8({xcb_get_atom_name_name(name.get()), length});
    if (monitors[i].deviceName.size() > kMaxDeviceName) monitors[i].deviceName.resize(kMaxDeviceName);
  }
  return monitors;
}

}  // namespace

bool SelectMonitorEvents(XcbConnection& connection, std::uint32_t rootEvents) {
  const std::uint32_t mask = rootEvents | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection, connection.Root(), XCB_CW_EVENT_MASK, &mask);
  if (!connection.Has(xcb_randr_id)) return false;
  const XcbReply<xcb_randr_query_version_reply_t> version(
      xcb_randr_query_version_reply(connection, xcb_randr_query_version(connection, 1, 5), nullptr));
  if (!version || (version->major_version == 1 && version->minor_version < 5)) return false;
  xcb_randr_select_input(connection, connection.Root(),
                         XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                             XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE | XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE);
  return true;
}

bool IsMonitorEvent(XcbConnection& connection, const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7F;
  if (type == XCB_CONFIGURE_NOTIFY) {
    return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == connection.Root();
  }
  if (!connection.Has(xcb_randr_id)) return false;
  const int first = xcb_get_extension_data(connection, &xcb_randr_id)->first_event;
  return type == first + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == first + XCB_RANDR_NOTIFY;
}

std::optional<MonitorLayout> ReadMonitors(XcbConnection& connection, bool randr) {
  const auto geometryRequest = xcb_get_geometry(connection, connection.Root());
  const auto resourcesRequest = xcb_get_property(connection, 0, connection.Root(), XCB_ATOM_RESOURCE_MANAGER,
                                                 XCB_ATOM_STRING, 0, kMaxResourceWords);
  MonitorLayout layout;
  if (randr) {
    layout.monitors = ListMonitors(connection, xcb_randr_get_monitors(connection, connection.Root(), 1));
  }
  const XcbReply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(connection, geometryRequest, nullptr));
  const XcbReply<xcb_get_property_reply_t> resources(
      xcb_get_property_reply(connection, resourcesRequest, nullptr));
  if (!root || connection.Lost()) return std::nullopt;
  layout.rootWidth = root->width;
  layout.rootHeight = root->height;
  if (!randr) {
    MonitorFacts whole;
    whole.rect = {0, 0, root->width, root->height};
    whole.deviceName = L"screen";
    layout.monitors.push_back(std::move(whole));
  }

  const std::uint32_t dpi = DpiFromResources(Text8(resources.get()));
  for (MonitorFacts& monitor : layout.monitors) {
    monitor.rect = Clipped(monitor.rect, *root);
    monitor.dpi = dpi;
  }
  std::erase_if(layout.monitors, [](const MonitorFacts& monitor) { return Empty(monitor.rect); });
  if (layout.monitors.empty()) return layout;

  // Exactly one monitor is primary: the first one marked, or else the first of all.
  auto primary = std::ranges::find_if(layout.monitors, &MonitorFacts::primary);
  if (primary == layout.monitors.end()) primary = layout.monitors.begin();
  for (MonitorFacts& monitor : layout.monitors) monitor.primary = false;
  primary->primary = true;

  const POINT origin{primary->rect.left, primary->rect.top};
  layout.rootOrigin = origin;
  for (MonitorFacts& monitor : layout.monitors) {
    RECT& r = monitor.rect;
    r = {r.left - origin.x, r.top - origin.y, r.right - origin.x, r.bottom - origin.y};
  }
  return layout;
}

std::uint32_t DpiFromResources(const std::string& resources) {
  constexpr std::string_view kKey = "Xft.dpi:";
  constexpr std::uint32_t kDefault = 96;
  constexpr double kMax = 9600;
  std::size_t line = 0;
  while (line < resources.size()) {
    const std::size_t end = std::min(resources.find('\n', line), resources.size());
    std::string_view text(resources.data() + line, end - line);
    line = end + 1;
    if (!text.starts_with(kKey)) continue;
    text.remove_prefix(kKey.size());
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    double dpi = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), dpi);
    if (result.ec != std::errc() || !(dpi >= 1 && dpi <= kMax)) return kDefault;
    return static_cast<std::uint32_t>(std::lround(dpi));
  }
  return kDefault;
}

}  // namespace quillmark::layer
