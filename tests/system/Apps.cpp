#include "Apps.h"

#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace quillmark::test {
namespace {

using namespace std::chrono_literals;

struct Disconnector {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
struct Freer {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

cv::Mat Screenshot(const cv::Rect& area) {
  const std::unique_ptr<xcb_connection_t, Disconnector> connection(xcb_connect(nullptr, nullptr));
  if (xcb_connection_has_error(connection.get())) throw std::runtime_error("no X server");
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
  const auto cookie =
      xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(area.x),
                    static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                    static_cast<std::uint16_t>(area.height), ~0u);
  const std::unique_ptr<xcb_get_image_reply_t, Freer> reply(
      xcb_get_image_reply(connection.get(), cookie, nullptr));
  if (!reply) throw std::runtime_error("the screen cannot be read");
  const cv::Mat bgrx(area.height, area.width, CV_8UC4, xcb_get_image_data(reply.get()));
  cv::Mat bgr(area.size(), CV_8UC3);
  const int channels[] = {0, 0, 1, 1, 2, 2};
  cv::mixChannels(&bgrx, 1, &bgr, 1, channels, 3);
  return bgr;
}

App::App(std::vector<std::string> arguments) : name(arguments.front()), program(arguments) {
  const auto appears = [&] {
    window = Shell("xdotool search --onlyvisible --classname '^" + name + "$' 2>/dev/null | tail -n 1");
    return !window.empty();
  };
  if (!Eventually(appears)) throw std::runtime_error(name + " shows no window: " + program.Err());
}

cv::Rect App::ClientArea() const {
  cv::Rect before, now;
  const auto settled = [&] {
    before = now;
    const std::string text =
        Shell("xwininfo -id " + window +
              " | awk '/Absolute upper-left/ {print $NF} /^  (Width|Height):/ {print $NF}'");
    if (std::sscanf(text.c_str(), "%d %d %d %d", &now.x, &now.y, &now.width, &now.height) != 4) now = {};
    if (now.area() != 0 && now == before) return true;
    std::this_thread::sleep_for(100ms);
    return false;
  };
  if (!Eventually(settled)) throw std::runtime_error(name + " keeps moving");
  return now;
}

void App::Stir() const {
  const cv::Rect area = ClientArea();
  Shell("xrefresh -geometry 2x2+" + std::to_string(area.x) + "+" + std::to_string(area.y));
}

}  // namespace quillmark::test
