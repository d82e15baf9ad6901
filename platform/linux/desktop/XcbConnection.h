// A connection to an X server's preferred screen, and owners for XCB's replies and events.
//
// Threading: constant after construction; XCB serialises the use of a connection itself.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillmark::layer {

struct FreeXcb {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using XcbReply = std::unique_ptr<Reply, FreeXcb>;
using XcbEvent = XcbReply<xcb_generic_event_t>;

class XcbConnection {
 public:
  // Null if the display cannot be reached.
  static std::unique_ptr<XcbConnection> Open(const std::string& display) {
    int screenNumber = 0;
    xcb_connection_t* handle = Connect(display, screenNumber);
    std::unique_ptr<XcbConnection> connection(new XcbConnection(handle));
    if (connection->Lost()) return nullptr;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(handle));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) xcb_screen_next(&screens);
    connection->screen = screens.data;
    return connection;
  }
  // A lost connection keeps its descriptor until here.
  ~XcbConnection() { xcb_disconnect(handle); }
  XcbConnection(const XcbConnection&) = delete;
  XcbConnection& operator=(const XcbConnection&) = delete;

  operator xcb_connection_t*() const { return handle; }
  xcb_window_t Root() const { return screen->root; }
  std::uint8_t RootDepth() const { return screen->root_depth; }
  // Whether the root window's pixels are four bytes: blue, green, red and a meaningless one.
  bool IsBgrx() const {
    const xcb_setup_t& setup = *xcb_get_setup(handle);
    if (setup.image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) return false;
    bool wide = false;
    for (auto it = xcb_setup_pixmap_formats_iterator(&setup); it.rem > 0; xcb_format_next(&it)) {
      wide = wide || (it.data->depth == screen->root_depth && it.data->bits_per_pixel == 32);
    }
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0; xcb_depth_next(&depth)) {
      for (auto it = xcb_depth_visuals_iterator(depth.data); it.rem > 0; xcb_visualtype_next(&it)) {
        if (it.data->visual_id != screen->root_visual) continue;
        return wide && it.data->red_mask == 0xFF0000 && it.data->green_mask == 0xFF00 &&
               it.data->blue_mask == 0xFF;
      }
    }
    return false;
  }
  bool Lost() const { return xcb_connection_has_error(handle) != 0; }
  bool Has(xcb_extension_t& extension) const {
    const auto* data = xcb_get_extension_data(handle, &extension);
    return data != nullptr && data->present;
  }

 private:
  explicit XcbConnection(xcb_connection_t* opened) : handle(opened) {}

  // One at a time: the authorisation library keeps its file's name in one buffer for all threads.
  static xcb_connection_t* Connect(const std::string& display, int& screenNumber) {
    static std::mutex connecting;
    const std::lock_guard lock(connecting);
    return xcb_connect(display.c_str(), &screenNumber);
  }

  xcb_connection_t* handle;
  const xcb_screen_t* screen = nullptr;  // in the connection's setup data
};

// The 32-bit items of a property; none if there is no reply or it has another format.
inline std::vector<std::uint32_t> Items32(const xcb_get_property_reply_t* property) {
  if (property == nullptr || property->format != 32) return {};
  std::vector<std::uint32_t> items(property->value_len);
  if (!items.empty()) std::memcpy(items.data(), xcb_get_property_value(property), items.size() * 4);
  return items;
}

// The bytes of a property; none if there is no reply or it has another format.
inline std::string Text8(const xcb_get_property_reply_t* property) {
  if (property == nullptr || property->format != 8) return {};
  return {static_cast<const char*>(xcb_get_property_value(property)), property->value_len};
}

}  // namespace quillmark::layer
