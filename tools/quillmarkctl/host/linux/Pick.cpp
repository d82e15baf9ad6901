#include "host/Pick.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>

#include "desktop/X11Monitors.h"
#include "desktop/XcbConnection.h"

namespace quillmark::control::host {
namespace {

using layer::XcbConnection;
using layer::XcbEvent;
using layer::XcbReply;

constexpr std::uint32_t EscapeKey = 0xFF1B;
constexpr std::uint32_t FrameColour = 0xE0201B;
constexpr int FrameWidth = 2;
constexpr xcb_button_t LeftButton = 1, RightButton = 3;

// Four bars around a rectangle, so that nothing is drawn inside. Window managers ignore them.
class Frame {
 public:
  explicit Frame(XcbConnection& toServer) : connection(toServer) {
    const std::uint32_t values[] = {FrameColour, /*override redirect*/ 1};
    for (xcb_window_t& bar : bars) {
      bar = xcb_generate_id(connection);
      xcb_create_window(connection, XCB_COPY_FROM_PARENT, bar, connection.Root(), 0, 0, 1, 1, 0,
                        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                        XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    }
  }
  ~Frame() {
    for (const xcb_window_t bar : bars) xcb_destroy_window(connection, bar);
  }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  // Moves the bars around `r`, in root pixels.
  void Show(const Rect& r) {
    const int width = r.right - r.left, height = r.bottom - r.top;
    Place(bars[0], r.left - FrameWidth, r.top - FrameWidth, width + 2 * FrameWidth, FrameWidth);
    Place(bars[1], r.left - FrameWidth, r.bottom, width + 2 * FrameWidth, FrameWidth);
    Place(bars[2], r.left - FrameWidth, r.top, FrameWidth, height);
    Place(bars[3], r.right, r.top, FrameWidth, height);
    xcb_flush(connection);
  }

 private:
  void Place(xcb_window_t bar, int x, int y, int width, int height) {
    const std::uint32_t values[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                                    static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                                    XCB_STACK_MODE_ABOVE};
    xcb_configure_window(connection, bar,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_STACK_MODE,
                         values);
    xcb_map_window(connection, bar);
  }

  XcbConnection& connection;
  std::array<xcb_window_t, 4> bars{};
};

xcb_cursor_t Crosshair(XcbConnection& connection) {
  constexpr char name[] = "cursor";
  constexpr std::uint16_t glyph = 34;
  const xcb_font_t font = xcb_generate_id(connection);
  const xcb_cursor_t cursor = xcb_generate_id(connection);
  xcb_open_font(connection, font, sizeof name - 1, name);
  const auto made = xcb_create_glyph_cursor_checked(connection, cursor, font, font, glyph, glyph + 1, 0, 0, 0,
                                                    0xFFFF, 0xFFFF, 0xFFFF);
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(connection, made));
  return error ? xcb_cursor_t{XCB_CURSOR_NONE} : cursor;
}

xcb_keycode_t KeycodeOf(XcbConnection& connection, std::uint32_t keysym) {
  const xcb_setup_t* const setup = xcb_get_setup(connection);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const auto request = xcb_get_keyboard_mapping(connection, setup->min_keycode, count);
  const XcbReply<xcb_get_keyboard_mapping_reply_t> reply(
      xcb_get_keyboard_mapping_reply(connection, request, nullptr));
  if (!reply) return 0;
  const xcb_keysym_t* const keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
  for (int key = 0; key < count; ++key) {
    if (keysyms[key * reply->keysyms_per_keycode] == keysym) {
      return static_cast<xcb_keycode_t>(setup->min_keycode + key);
    }
  }
  return 0;
}

// Takes all mouse and keyboard input until the connection closes. An open menu may hold it at first.
void GrabInput(XcbConnection& connection) {
  constexpr auto patience = std::chrono::seconds(2);
  constexpr auto pause = std::chrono::milliseconds(20);
  const xcb_cursor_t cursor = Crosshair(connection);
  const auto deadline = std::chrono::steady_clock::now() + patience;
  for (; std::chrono::steady_clock::now() < deadline; std::this_thread::sleep_for(pause)) {
    const auto request = xcb_grab_pointer(
        connection, 0, connection.Root(),
        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_BUTTON_MOTION,
        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE, cursor, XCB_CURRENT_TIME);
    const XcbReply<xcb_grab_pointer_reply_t> pointer(xcb_grab_pointer_reply(connection, request, nullptr));
    if (!pointer || pointer->status != XCB_GRAB_STATUS_SUCCESS) continue;
    const auto keys = xcb_grab_keyboard(connection, 0, connection.Root(), XCB_CURRENT_TIME,
                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    // Without the keyboard, the right button still cancels.
    std::free(xcb_grab_keyboard_reply(connection, keys, nullptr));
    return;
  }
  throw std::runtime_error("another program has grabbed the mouse");
}

Rect Between(xcb_point_t a, xcb_point_t b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x) + 1, std::max(a.y, b.y) + 1};
}

xcb_point_t PointerPlace(XcbConnection& connection) {
  const auto request = xcb_query_pointer(connection, connection.Root());
  const XcbReply<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(connection, request, nullptr));
  if (!reply) throw std::runtime_error("the connection to the X server was lost");
  return {reply->root_x, reply->root_y};
}

// In root pixels.
std::optional<Rect> Draw(XcbConnection& connection, const std::function<void()>& ready) {
  const xcb_keycode_t escape = KeycodeOf(connection, EscapeKey);
  GrabInput(connection);
  ready();
  Frame frame(connection);
  std::optional<xcb_point_t> corner;
  while (const XcbEvent event{xcb_wait_for_event(connection)}) {
    // Key, button and motion events have the same layout.
    const auto& input = reinterpret_cast<const xcb_button_press_event_t&>(*event);
    const xcb_point_t place{input.root_x, input.root_y};
    switch (event->response_type & 0x7F) {
      case XCB_KEY_PRESS:
        if (input.detail == escape) return std::nullopt;
        break;
      case XCB_BUTTON_PRESS:
        if (input.detail == RightButton) return std::nullopt;
        if (input.detail == LeftButton) corner = place;
        break;
      case XCB_MOTION_NOTIFY:
        if (corner) frame.Show(Between(*corner, place));
        break;
      case XCB_BUTTON_RELEASE:
        if (input.detail == LeftButton && corner) return Between(*corner, place);
        break;
      default:
        break;
    }
  }
  throw std::runtime_error("the connection to the X server was lost");
}

}  // namespace

std::optional<Rect> PickRectangle(const std::function<void()>& ready) {
  const char* const display = std::getenv("DISPLAY");
  const auto connection = XcbConnection::Open(display == nullptr ? "" : display);
  if (!connection) throw std::runtime_error("cannot connect to the X server");
  const xcb_point_t before = PointerPlace(*connection);
  std::optional<Rect> picked = Draw(*connection, ready);
  // Back where it was, so that nothing in the rectangle is highlighted under the pointer.
  xcb_warp_pointer(*connection, XCB_WINDOW_NONE, connection->Root(), 0, 0, 0, 0, before.x, before.y);
  const auto layout = layer::ReadMonitors(*connection, layer::SelectMonitorEvents(*connection, 0));
  if (!layout) throw std::runtime_error("the connection to the X server was lost");
  if (picked) {
    picked->left -= layout->rootOrigin.x;
    picked->right -= layout->rootOrigin.x;
    picked->top -= layout->rootOrigin.y;
    picked->bottom -= layout->rootOrigin.y;
  }
  return picked;
}

}  // namespace quillmark::control::host
