#include "support/XClient.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <stdexcept>

namespace quillmark::test {

XClient::XClient() : connection(xcb_connect(nullptr, nullptr)) {
  if (xcb_connection_has_error(connection)) {
    xcb_disconnect(connection);
    throw std::runtime_error("no X server");
  }
  root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

XClient::~XClient() {
  xcb_disconnect(connection);
}

void XClient::Sync() {
  std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

std::uint32_t XClient::Atom(const std::string& name) {
  auto* reply = xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr);
  const std::uint32_t atom = reply != nullptr ? reply->atom : 0;
  std::free(reply);
  return atom;
}

void XClient::SetText(std::uint32_t window, std::uint32_t property, std::uint32_t type,
                      const std::string& text) {
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                      static_cast<std::uint32_t>(text.size()), text.data());
  Sync();
}

std::uint32_t XClient::Create(int x, int y, int width, int height, bool popup) {
  const std::uint32_t window = xcb_generate_id(connection);
  const std::uint32_t values[] = {0xFFFFFF, popup};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, root, static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                    static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                    XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
  return window;
}

std::uint32_t XClient::Show(int x, int y, int width, int height, const std::string& utf8Title) {
  const std::uint32_t window = Create(x, y, width, height, false);
  // Normal hints: position set by the user, static gravity. The client area then stays in its place.
  constexpr std::uint32_t kUserPosition = 1u << 0;
  constexpr std::uint32_t kGravity = 1u << 9;
  std::uint32_t hints[18] = {kUserPosition | kGravity};
  hints[17] = XCB_GRAVITY_STATIC;
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                      XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
  SetTitle(window, utf8Title);
  Map(window);
  return window;
}

std::uint32_t XClient::ShowPopup(int x, int y, int width, int height) {
  const std::uint32_t window = Create(x, y, width, height, true);
  Map(window);
  return window;
}

void XClient::SetTitle(std::uint32_t window, const std::string& utf8Title) {
  SetText(window, Atom("_NET_WM_NAME"), Atom("UTF8_STRING"), utf8Title);
}

void XClient::SetLegacyTitle(std::uint32_t window, const std::string& latin1Title) {
  xcb_delete_property(connection, window, Atom("_NET_WM_NAME"));
  SetText(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, latin1Title);
}

void XClient::Move(std::uint32_t window, int x, int y) {
  const std::uint32_t values[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
  xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
  Sync();
}

void XClient::Raise(std::uint32_t window) {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  Sync();
}

void XClient::Map(std::uint32_t window) {
  xcb_map_window(connection, window);
  Sync();
}

void XClient::Unmap(std::uint32_t window) {
  xcb_unmap_window(connection, window);
  Sync();
}

void XClient::Iconify(std::uint32_t window) {
  constexpr std::uint32_t kIconicState = 3;
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = Atom("WM_CHANGE_STATE");
  message.data.data32[0] = kIconicState;
  xcb_send_event(connection, 0, root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  Sync();
}

bool XClient::HasProperty(std::uint32_t window, const std::string& property) {
  auto* value = xcb_get_property_reply(
      connection, xcb_get_property(connection, 0, window, Atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 2),
      nullptr);
  const bool has = value != nullptr && value->value_len > 0;
  std::free(value);
  return has;
}

std::vector<std::uint8_t> XClient::Pixels(int x, int y, int width, int height) {
  auto* image = xcb_get_image_reply(
      connection,
      xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(x),
                    static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                    static_cast<std::uint16_t>(height), ~0u),
      nullptr);
  if (image == nullptr) return {};
  const std::uint8_t* bytes = xcb_get_image_data(image);
  std::vector<std::uint8_t> pixels(bytes, bytes + xcb_get_image_data_length(image));
  std::free(image);
  return pixels;
}

void XClient::Destroy(std::uint32_t window) {
  xcb_destroy_window(connection, window);
  Sync();
}

}  // namespace quillmark::test
