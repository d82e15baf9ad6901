#include "desktop/X11Windows.h"

#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "host/Text.h"

namespace quillmark::layer {
namespace {

constexpr std::uint32_t kMaxListed = 4096;
constexpr std::uint32_t kMaxTitleWords = 1024;
constexpr std::uint32_t kMaxStates = 64;
constexpr int kMaxFrameDepth = 8;
constexpr std::uint32_t kIconicState = 3;  // of WM_STATE

std::wstring FromLatin1(std::string_view latin1) {
  std::wstring wide;
  for (const char c : latin1) wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return wide;
}

// The part before the first change of character set, which is Latin-1. The rest would need tables of every
// legacy set; clients that use them have set _NET_WM_NAME for decades.
std::wstring FromCompoundText(std::string_view compound) {
  constexpr char kEscape = 0x1B;
  return FromLatin1(compound.substr(0, compound.find(kEscape)));
}

using PropertyReply = XcbReply<xcb_get_property_reply_t>;

PropertyReply Take(XcbConnection& connection, xcb_get_property_cookie_t request) {
  return PropertyReply(xcb_get_property_reply(connection, request, nullptr));
}

RECT Enlarged(const RECT& r, LONG left, LONG right, LONG top, LONG bottom) {
  return {r.left - left, r.top - top, r.right + right, r.bottom + bottom};
}

}  // namespace

struct X11Windows::Requests {
  WindowId window;
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_geometry_cookie_t geometry;
  xcb_translate_coordinates_cookie_t origin;
  xcb_query_tree_cookie_t tree;
  xcb_get_property_cookie_t netName, name, state, netState, frameExtents, gtkExtents;
  bool asksProcess;
  xcb_get_property_cookie_t pid;
  xcb_res_query_client_ids_cookie_t client;
};

X11Windows::X11Windows(XcbConnection& used) : connection(used) {
  ReadAtoms();
  if (!connection.Has(xcb_res_id)) return;
  const XcbReply<xcb_res_query_version_reply_t> version(
      xcb_res_query_version_reply(connection, xcb_res_query_version(connection, 1, 2), nullptr));
  xres = version && (version->server_major > 1 || version->server_minor >= 2);
}

void X11Windows::ReadAtoms() {
  const std::pair<std::string_view, xcb_atom_t*> wanted[] = {
      {"_NET_SUPPORTING_WM_CHECK", &atoms.check},
      {"_NET_CLIENT_LIST_STACKING", &atoms.stacking},
      {"_NET_WM_NAME", &atoms.netName},
      {"UTF8_STRING", &atoms.utf8},
      {"COMPOUND_TEXT", &atoms.compound},
      {"WM_STATE", &atoms.state},
      {"_NET_WM_STATE", &atoms.netState},
      {"_NET_WM_STATE_HIDDEN", &atoms.hidden},
      {"_NET_FRAME_EXTENTS", &atoms.frameExtents},
      {"_GTK_FRAME_EXTENTS", &atoms.gtkExtents},
      {"_NET_WM_PID", &atoms.pid},
  };
  std::vector<xcb_intern_atom_cookie_t> requests;
  for (const auto& [name, atom] : wanted) {
    requests.push_back(xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()));
  }
  for (std::size_t i = 0; i < requests.size(); ++i) {
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, requests[i], nullptr));
    if (reply) *wanted[i].second = reply->atom;
  }
}

const WindowFacts* X11Windows::Find(WindowId window) const {
  const auto found = entries.find(window);
  return found != entries.end() && found->second.listed ? &found->second.facts : nullptr;
}

void X11Windows::Outdate(xcb_window_t window) {
  for (auto& [id, entry] : entries) {
    if (id != window && entry.frame != window) continue;
    entry.outdated = true;
    entriesOutdated = true;
  }
}

void X11Windows::NoteProperty(const xcb_property_notify_event_t& event) {
  if (event.window == connection.Root() || event.window == checkWindow) {
    if (event.atom == atoms.check || event.atom == atoms.stacking) listOutdated = true;
    return;
  }
  const xcb_atom_t shown[] = {XCB_ATOM_WM_NAME, atoms.netName,      atoms.state,
                              atoms.netState,   atoms.frameExtents, atoms.gtkExtents};
  if (std::ranges::find(shown, event.atom) != std::end(shown)) Outdate(event.window);
}

void X11Windows::Note(const xcb_generic_event_t& event) {
  // In every structure event, the first window is the one that reports and the second the one that changed.
  switch (event.response_type & 0x7F) {
    case XCB_PROPERTY_NOTIFY:
      NoteProperty(reinterpret_cast<const xcb_property_notify_event_t&>(event));
      return;
    case XCB_DESTROY_NOTIFY: {
      // Forgotten at once: its id may already be that of a new window, whose events have not been selected.
      // Without the check window, the properties are those of a dead window manager.
      const xcb_window_t gone = reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
      if (entries.erase(gone) > 0 || gone == checkWindow || !managed) listOutdated = true;
      return;
    }
    case XCB_CREATE_NOTIFY:
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_REPARENT_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_GRAVITY_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
      if (!managed) listOutdated = true;
      Outdate(reinterpret_cast<const xcb_map_notify_event_t&>(event).window);
      return;
    default:
      return;
  }
}

void X11Windows::Refresh() {
  if (listOutdated) ReadList();
  if (entriesOutdated) ReadEntries();
}

void X11Windows::ReadList() {
  listOutdated = false;
  entriesOutdated = true;  // the new ones
  const xcb_window_t root = connection.Root();
  const auto checkRequest = xcb_get_property(connection, 0, root, atoms.check, XCB_ATOM_WINDOW, 0, 1);
  const auto stackingRequest =
      xcb_get_property(connection, 0, root, atoms.stacking, XCB_ATOM_WINDOW, 0, kMaxListed);
  const auto treeRequest = xcb_query_tree(connection, root);
  const auto check = Items32(Take(connection, checkRequest).get());
  const auto clients = Take(connection, stackingRequest);
  const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(connection, treeRequest, nullptr));

  // A window manager is running if the check window exists and names itself.
  checkWindow = check.empty() ? 0 : check.front();
  bool alive = false;
  if (checkWindow != 0) {
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, checkWindow, XCB_CW_EVENT_MASK, &events);
    const auto own = Items32(
        Take(connection, xcb_get_property(connection, 0, checkWindow, atoms.check, XCB_ATOM_WINDOW, 0, 1))
            .get());
    alive = !own.empty() && own.front() == checkWindow;
  }
  const bool believed = alive && clients && clients->type == XCB_ATOM_WINDOW;
  // Whether a window is iconic depends on it.
  if (believed != managed) {
    for (auto& [id, entry] : entries) entry.outdated = true;
  }
  managed = believed;

  if (managed) {
    stacking = Items32(clients.get());
  } else if (tree) {
    const auto* children = xcb_query_tree_children(tree.get());
    stacking.assign(children, children + xcb_query_tree_children_length(tree.get()));
  } else {
    stacking.clear();
  }
  std::ranges::reverse(stacking);

  std::map<WindowId, Entry> kept;
  for (const WindowId window : stacking) {
    auto old = entries.extract(window);
    if (old) {
      kept.insert(std::move(old));
    } else if (kept.try_emplace(window).second) {
      // Before its properties are read, so that no later change is missed.
      const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
      xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &events);
    }
  }
  entries = std::move(kept);
}

void X11Windows::ReadEntries() {
  std::vector<Requests> asked;
  for (const auto& [window, entry] : entries) {
    if (entry.outdated) asked.push_back(Ask(window, entry));
  }
  std::vector<WindowId> reparented;
  for (Requests& requests : asked) {
    Entry& entry = entries.at(requests.window);
    const xcb_window_t oldParent = entry.parent;
    if (!Read(requests, entry)) {
      entries.erase(requests.window);
    } else if (entry.parent != oldParent) {
      reparented.push_back(requests.window);
    }
  }
  FindFrames(reparented);
  order.clear();
  for (const WindowId window : stacking) {
    if (Find(window) != nullptr) order.push_back(window);
  }
  entriesOutdated = false;
}

X11Windows::Requests X11Windows::Ask(WindowId window, const Entry& entry) {
  XcbConnection& c = connection;
  const auto property = [&](xcb_atom_t name, xcb_atom_t type, std::uint32_t words) {
    return xcb_get_property(c, 0, window, name, type, 0, words);
  };
  Requests r{};
  r.window = window;
  r.attributes = xcb_get_window_attributes(c, window);
  r.geometry = xcb_get_geometry(c, window);
  r.origin = xcb_translate_coordinates(c, window, c.Root(), 0, 0);
  r.tree = xcb_query_tree(c, window);
  r.netName = property(atoms.netName, atoms.utf8, kMaxTitleWords);
  r.name = property(XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, kMaxTitleWords);
  r.state = property(atoms.state, atoms.state, 2);
  r.netState = property(atoms.netState, XCB_ATOM_ATOM, kMaxStates);
  r.frameExtents = property(atoms.frameExtents, XCB_ATOM_CARDINAL, 4);
  r.gtkExtents = property(atoms.gtkExtents, XCB_ATOM_CARDINAL, 4);
  // A window's process never changes.
  r.asksProcess = entry.facts.processId == 0;
  if (r.asksProcess) {
    r.pid = property(atoms.pid, XCB_ATOM_CARDINAL, 1);
    const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    if (xres) r.client = xcb_res_query_client_ids(c, 1, &spec);
  }
  return r;
}

bool X11Windows::Read(Requests& r, Entry& entry) {
  XcbConnection& c = connection;
  const XcbReply<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(c, r.attributes, nullptr));
  const XcbReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, r.geometry, nullptr));
  const XcbReply<xcb_translate_coordinates_reply_t> origin(
      xcb_translate_coordinates_reply(c, r.origin, nullptr));
  const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, r.tree, nullptr));
  const auto netName = Take(c, r.netName);
  const auto name = Take(c, r.name);
  const auto state = Items32(Take(c, r.state).get());
  const auto netState = Items32(Take(c, r.netState).get());
  const auto frame = Items32(Take(c, r.frameExtents).get());
  const auto shadow = Items32(Take(c, r.gtkExtents).get());
  std::uint32_t processId = entry.facts.processId;
  if (r.asksProcess) {
    const auto pid = Items32(Take(c, r.pid).get());
    if (!pid.empty()) processId = pid.front();
    const XcbReply<xcb_res_query_client_ids_reply_t> client(
        xres ? xcb_res_query_client_ids_reply(c, r.client, nullptr) : nullptr);
    for (auto it = client ? xcb_res_query_client_ids_ids_iterator(client.get())
                          : xcb_res_client_id_value_iterator_t{};
         it.rem > 0; xcb_res_client_id_value_next(&it)) {
      if (xcb_res_client_id_value_value_length(it.data) > 0)
        processId = *xcb_res_client_id_value_value(it.data);
    }
  }
  // The server reports a process even for a window that is gone, so nothing is stored before this check.
  if (!attributes || !geometry || !origin || !tree) return false;

  entry.outdated = false;
  entry.parent = tree->parent;
  entry.listed =
      managed || (attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT && !attributes->override_redirect);
  WindowFacts& facts = entry.facts;
  facts.root = r.window;
  facts.processId = processId;
  facts.visible = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
  if (managed) {
    facts.iconic = (!state.empty() && state.front() == kIconicState) ||
                   std::ranges::find(netState, atoms.hidden) != netState.end();
    // On the platform a window is visible until it is hidden, and minimising is not hiding.
    facts.visible = facts.visible || facts.iconic;
  } else {
    facts.iconic = attributes->map_state == XCB_MAP_STATE_UNMAPPED;
  }

  if (netName && netName->value_len > 0) {
    facts.title = FromUtf8(Text8(netName.get()));
  } else if (name && name->type == atoms.utf8) {
    facts.title = FromUtf8(Text8(name.get()));
  } else if (name && name->type == atoms.compound) {
    facts.title = FromCompoundText(Text8(name.get()));
  } else {
    facts.title = FromLatin1(Text8(name.get()));
  }

  facts.client = {origin->dst_x, origin->dst_y, origin->dst_x + geometry->width,
                  origin->dst_y + geometry->height};
  const auto extent = [](const std::vector<std::uint32_t>& extents, std::size_t side) {
    return extents.size() == 4 ? static_cast<LONG>(std::min<std::uint32_t>(extents[side], 0x7FFF)) : 0;
  };
  // The rectangle of a window that draws its own shadow includes it.
  facts.client =
      Enlarged(facts.client, -extent(shadow, 0), -extent(shadow, 1), -extent(shadow, 2), -extent(shadow, 3));
  const LONG border = geometry->border_width;
  facts.outer = Enlarged(facts.client, border + extent(frame, 0), border + extent(frame, 1),
                         border + extent(frame, 2), border + extent(frame, 3));
  return true;
}

// Follows the parents up to the root window's child, one step at a time for all windows.
void X11Windows::FindFrames(const std::vector<WindowId>& windows) {
  std::vector<std::pair<WindowId, xcb_window_t>> climbing;
  for (const WindowId window : windows) {
    Entry& entry = entries.at(window);
    entry.frame = entry.parent == connection.Root() ? window : entry.parent;
    if (entry.frame != window) climbing.emplace_back(window, entry.frame);
  }
  for (int depth = 0; depth < kMaxFrameDepth && !climbing.empty(); ++depth) {
    std::vector<xcb_query_tree_cookie_t> requests;
    for (const auto& [window, frame] : climbing) requests.push_back(xcb_query_tree(connection, frame));
    std::vector<std::pair<WindowId, xcb_window_t>> higher;
    for (std::size_t i = 0; i < climbing.size(); ++i) {
      const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(connection, requests[i], nullptr));
      const auto [window, frame] = climbing[i];
      entries.at(window).frame = frame;
      if (tree && tree->parent != connection.Root() && tree->parent != 0)
        higher.emplace_back(window, tree->parent);
    }
    climbing = std::move(higher);
  }
}

}  // namespace quillmark::layer
