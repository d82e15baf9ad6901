#include "host/linux/Display.h"

#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "desktop/WarningPicture.h"
#include "desktop/XcbConnection.h"

namespace quillmark::control::host {
namespace {

using layer::XcbConnection;
using layer::XcbReply;

constexpr char Topic[] = "display";
constexpr char UseX11[] = "log in to an X11 session (often \"on Xorg\" on the login screen)";

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

xcb_atom_t Atom(XcbConnection& connection, std::string_view name) {
  const auto request = xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
  const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, request, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::vector<std::uint32_t> WindowProperty(XcbConnection& connection, xcb_window_t window, xcb_atom_t name) {
  const auto request = xcb_get_property(connection, 0, window, name, XCB_ATOM_WINDOW, 0, 1);
  const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, request, nullptr));
  return layer::Items32(reply.get());
}

// A dead window manager leaves its properties behind, but not the window that refers to itself.
bool WindowManagerRuns(XcbConnection& connection) {
  const xcb_atom_t check = Atom(connection, "_NET_SUPPORTING_WM_CHECK");
  if (check == XCB_ATOM_NONE) return false;
  const auto window = WindowProperty(connection, connection.Root(), check);
  return !window.empty() && WindowProperty(connection, window.front(), check) == window;
}

// Recognised by an extension or by the names of its outputs.
bool IsXWayland(XcbConnection& connection) {
  constexpr std::string_view extension = "XWAYLAND";
  const auto request = xcb_query_extension(connection, extension.size(), extension.data());
  const XcbReply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(connection, request, nullptr));
  return (reply && reply->present) || Atom(connection, "XWAYLAND0") != XCB_ATOM_NONE;
}

Check Missing(std::string what, std::string consequence, Level level = Level::Warning) {
  return {.level = level,
          .topic = Topic,
          .text = "the X server lacks " + what,
          .consequence = std::move(consequence),
          .remedy = "use a recent local X server, such as Xorg or Xvfb"};
}

void ExamineServer(XcbConnection& connection, Checks& checks) {
  if (!connection.Has(xcb_damage_id) || !connection.Has(xcb_xfixes_id)) {
    checks.push_back(Missing("the DAMAGE or XFIXES extension", "no monitor can be captured", Level::Problem));
  }
  if (!connection.Has(xcb_randr_id)) {
    checks.push_back(Missing("the RANDR extension", "all monitors are treated as one"));
  }
  if (!connection.Has(xcb_shm_id)) {
    checks.push_back(Missing("the MIT-SHM extension",
                             "frames are sent over the connection, which is several times slower"));
  }
  if (!connection.Has(xcb_res_id)) {
    checks.push_back(Missing("the X-Resource extension",
                             "programs are identified by what their windows claim, which may be wrong"));
  }
  if (WindowManagerRuns(connection)) return;
  checks.push_back(
      {.topic = Topic,
       .text = "no window manager is running; every child of the root window counts as a top-level window",
       .facts = {{"windowManager", false}}});
}

}  // namespace

Checks ExamineDisplay() {
  const std::string display = Environment("DISPLAY");
  const bool wayland =
      Environment("XDG_SESSION_TYPE") == "wayland" || !Environment("WAYLAND_DISPLAY").empty();
  const std::string noScreen = "the worker runs and takes commands, but sees no monitors or windows";
  if (display.empty()) {
    return {{.level = Level::Problem,
             .topic = Topic,
             .text = wayland ? "this is a Wayland session without an X display" : "DISPLAY is not set",
             .consequence = noScreen,
             .remedy = wayland
                           ? UseX11
                           : "set DISPLAY as in the desktop's session (often :0) for worker and tool alike"}};
  }
  const auto connection = XcbConnection::Open(display);
  if (!connection) {
    return {{.level = Level::Problem,
             .topic = Topic,
             .text = "cannot connect to the X server on DISPLAY " + display,
             .consequence = noScreen + "; it retries once a second",
             .remedy = "start the server, or check DISPLAY, XAUTHORITY and this user's access to it",
             .facts = {{"display", display}}}};
  }
  Checks checks{{.topic = Topic,
                 .text = "connected to the X server on DISPLAY " + display,
                 .facts = {{"display", display}}}};
  if (wayland || IsXWayland(*connection)) {
    checks.push_back(
        {.level = Level::Problem,
         .topic = Topic,
         .text = "the desktop is Wayland; the X server on " + display + " only serves X11 programs",
         .consequence = "the worker cannot see windows of Wayland programs, and captured frames may "
                        "be black",
         .remedy = UseX11});
  }
  ExamineServer(*connection, checks);
  return checks;
}

Check ExamineFonts() {
  // From the message box of a second instance.
  if (layer::HasFontFor(L"이미 실행 중입니다")) {
    return {.topic = "fonts", .text = "a font covers the Korean text of the message box"};
  }
  return {
      .level = Level::Warning,
      .topic = "fonts",
      .text = "no font has Korean characters",
      .consequence =
          "a second instance shows its message in English or, without any font, prints it on standard error",
      .remedy = "install a Korean font, for example fonts-nanum or fonts-noto-cjk"};
}

}  // namespace quillmark::control::host
