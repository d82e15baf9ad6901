// The top-level windows of an X screen, as a table that events keep current: an event marks a window or the
// list as outdated, and everything marked is read again at once. While nothing happens, a query costs no
// round trip.
//
// While a window manager is running, its stacking list says which windows exist. The properties of a dead one
// are ignored, and the root window's children are the list.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "desktop/Desktop.h"
#include "desktop/XcbConnection.h"

namespace quillmark::layer {

class X11Windows {
 public:
  // The events that the caller must select on the root window.
  static constexpr std::uint32_t kRootEvents =
      XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;

  explicit X11Windows(XcbConnection& connection);

  // Takes every event of the connection.
  void Note(const xcb_generic_event_t& event);
  // Reads what the events have outdated. Meaningless once the connection is lost.
  void Refresh();

  // Topmost first.
  const std::vector<WindowId>& Order() const { return order; }
  // Null if there is no such window. The rectangles are in root pixels.
  const WindowFacts* Find(WindowId window) const;

 private:
  struct Atoms {
    xcb_atom_t check, stacking, netName, utf8, compound, state, netState, hidden, frameExtents, gtkExtents,
        pid;
  };
  struct Entry {
    WindowFacts facts;
    bool outdated = true;
    xcb_window_t parent = 0;
    xcb_window_t frame = 0;  // the root window's child that contains it; itself without a frame
    bool listed = false;     // not a menu, a tooltip or an input-only window
  };
  struct Requests;

  void ReadAtoms();
  void NoteProperty(const xcb_property_notify_event_t& event);
  // Marks a window, or the windows in a frame, as outdated.
  void Outdate(xcb_window_t window);
  void ReadList();
  void ReadEntries();
  Requests Ask(WindowId window, const Entry& entry);
  // False when the window has gone.
  bool Read(Requests& requests, Entry& entry);
  void FindFrames(const std::vector<WindowId>& windows);

  XcbConnection& connection;
  Atoms atoms{};
  bool xres = false;
  bool listOutdated = true;
  bool entriesOutdated = true;   // any of them, or `order`
  bool managed = false;          // a window manager is running
  xcb_window_t checkWindow = 0;  // the window manager's check window
  std::map<WindowId, Entry> entries;
  std::vector<WindowId> stacking;  // topmost first, unlisted windows included
  std::vector<WindowId> order;
};

}  // namespace quillmark::layer
