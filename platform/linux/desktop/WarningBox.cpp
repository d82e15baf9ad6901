#include "desktop/WarningBox.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "desktop/WarningPicture.h"
#include "desktop/X11Monitors.h"
#include "desktop/XcbConnection.h"
#include "host/Text.h"

namespace quillmark::layer {
namespace {

// Return, keypad Enter, Escape, Space.
constexpr std::array<xcb_keysym_t, 4> kClosingKeys{0xFF0D, 0xFF8D, 0xFF1B, 0x20};

class Box {
 public:
  Box(XcbConnection& used, WarningPicture drawn) : connection(used), picture(std::move(drawn)) {}

  void Show(const std::wstring& caption, const RECT& monitor);
  // Returns when the user closes the box; false if the connection was lost.
  bool Run();

 private:
  enum class Step { Stay, Close };

  xcb_atom_t Atom(std::string_view name);
  void SetProperty(xcb_atom_t name, xcb_atom_t type, const std::vector<std::uint32_t>& items);
  void SetText(xcb_atom_t name, xcb_atom_t type, const std::string& text);
  void Paint();
  void TakeFocusWithoutWindowManager();
  Step Handle(const xcb_generic_event_t& event);
  bool Closes(xcb_keycode_t key);

  XcbConnection& connection;
  const WarningPicture picture;
  xcb_window_t window = 0;
  xcb_gcontext_t context = 0;
  xcb_atom_t deleteWindow = 0;
  bool shown = false;
  bool pressed = false;
};

xcb_atom_t Box::Atom(std::string_view name) {
  const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void Box::SetProperty(xcb_atom_t name, xcb_atom_t type, const std::vector<std::uint32_t>& items) {
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, name, type, 32,
                      static_cast<std::uint32_t>(items.size()), items.data());
}

void Box::SetText(xcb_atom_t name, xcb_atom_t type, const std::string& text) {
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, name, type, 8,
                      static_cast<std::uint32_t>(text.size()), text.data());
}

void Box::Show(const std::wstring& caption, const RECT& monitor) {
  const int x = monitor.left + std::max<int>((monitor.right - monitor.left - picture.width) / 2, 0);
  const int y = monitor.top + std::max<int>((monitor.bottom - monitor.top - picture.height) / 2, 0);
  window = xcb_generate_id(connection);
  const std::uint32_t values[] = {0xFFFFFF, XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_KEY_PRESS |
                                                XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, connection.Root(), static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), picture.width, picture.height, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
  context = xcb_generate_id(connection);
  xcb_create_gc(connection, context, window, 0, nullptr);

  const std::string title = ToUtf8(caption);
  SetText(XCB_ATOM_WM_NAME, Atom("UTF8_STRING"), title);
  SetText(Atom("_NET_WM_NAME"), Atom("UTF8_STRING"), title);
  SetText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string("quillmark\0Quillmark\0", 20));
  SetProperty(Atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, {static_cast<std::uint32_t>(getpid())});
  SetProperty(Atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, {Atom("_NET_WM_WINDOW_TYPE_DIALOG")});
  SetProperty(Atom("_NET_WM_STATE"), XCB_ATOM_ATOM, {Atom("_NET_WM_STATE_ABOVE")});
  deleteWindow = Atom("WM_DELETE_WINDOW");
  SetProperty(Atom("WM_PROTOCOLS"), XCB_ATOM_ATOM, {deleteWindow});
  // Normal hints: position set by the program, minimum and maximum size equal.
  constexpr std::uint32_t kPosition = 1u << 2, kMinSize = 1u << 4, kMaxSize = 1u << 5;
  std::vector<std::uint32_t> hints(18);
  hints[0] = kPosition | kMinSize | kMaxSize;
  hints[5] = hints[7] = picture.width;
  hints[6] = hints[8] = picture.height;
  SetProperty(XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, hints);
  xcb_map_window(connection, window);
}

bool Box::Run() {
  for (;;) {
    xcb_flush(connection);
    const XcbEvent event(xcb_wait_for_event(connection));
    if (!event) return false;
    if (Handle(*event) == Step::Close) return true;
  }
}

Box::Step Box::Handle(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7F) {
    case XCB_EXPOSE:
      Paint();
      if (!std::exchange(shown, true)) TakeFocusWithoutWindowManager();
      return Step::Stay;
    case XCB_KEY_PRESS:
      return Closes(reinterpret_cast<const xcb_key_press_event_t&>(event).detail) ? Step::Close : Step::Stay;
    case XCB_BUTTON_PRESS: {
      const auto& press = reinterpret_cast<const xcb_button_press_event_t&>(event);
      pressed = picture.Hits(press.event_x, press.event_y);
      return Step::Stay;
    }
    case XCB_BUTTON_RELEASE: {
      const auto& release = reinterpret_cast<const xcb_button_release_event_t&>(event);
      return pressed && picture.Hits(release.event_x, release.event_y) ? Step::Close : Step::Stay;
    }
    case XCB_CLIENT_MESSAGE:
      return reinterpret_cast<const xcb_client_message_event_t&>(event).data.data32[0] == deleteWindow
                 ? Step::Close
                 : Step::Stay;
    default:
      return Step::Stay;
  }
}

// In bands, since requests have a maximum length.
void Box::Paint() {
  constexpr std::size_t kBandBytes = 64 * 1024;
  const std::size_t rowBytes = std::size_t{picture.width} * 4;
  const std::size_t bandRows = std::max<std::size_t>(kBandBytes / rowBytes, 1);
  for (std::size_t y = 0; y < picture.height; y += bandRows) {
    const std::size_t rows = std::min<std::size_t>(bandRows, picture.height - y);
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, context, picture.width,
                  static_cast<std::uint16_t>(rows), 0, static_cast<std::int16_t>(y), 0,
                  connection.RootDepth(), static_cast<std::uint32_t>(rows * rowBytes),
                  reinterpret_cast<const std::uint8_t*>(picture.pixels.data() + y * picture.width));
  }
}

void Box::TakeFocusWithoutWindowManager() {
  const XcbReply<xcb_get_property_reply_t> manager(
      xcb_get_property_reply(connection,
                             xcb_get_property(connection, 0, connection.Root(),
                                              Atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1),
                             nullptr));
  if (!Items32(manager.get()).empty()) return;
  xcb_set_input_focus(connection, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
}

bool Box::Closes(xcb_keycode_t key) {
  const XcbReply<xcb_get_keyboard_mapping_reply_t> mapping(
      xcb_get_keyboard_mapping_reply(connection, xcb_get_keyboard_mapping(connection, key, 1), nullptr));
  if (!mapping || mapping->keysyms_per_keycode == 0) return false;
  return std::ranges::find(kClosingKeys, xcb_get_keyboard_mapping_keysyms(mapping.get())[0]) !=
         kClosingKeys.end();
}

}  // namespace

bool ShowWarningBox(const std::wstring& caption, const std::wstring& text, const std::wstring& fallback) {
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') return false;
  const auto connection = XcbConnection::Open(display);
  if (!connection || !connection->IsBgrx()) return false;
  const bool randr = SelectMonitorEvents(*connection, 0);
  const auto layout = ReadMonitors(*connection, randr);
  if (!layout || layout->monitors.empty()) return false;
  const auto primary = std::ranges::find_if(layout->monitors, &MonitorFacts::primary);
  auto picture = DrawWarning(text, fallback, primary->dpi);
  if (!picture) return false;
  // The primary monitor lies at the desktop's (0, 0).
  const POINT origin = layout->rootOrigin;
  const RECT onRoot{origin.x, origin.y, origin.x + primary->rect.right, origin.y + primary->rect.bottom};
  Box box(*connection, std::move(*picture));
  box.Show(caption, onRoot);
  return box.Run();
}

}  // namespace quillmark::layer
