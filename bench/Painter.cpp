#include "Painter.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

namespace quillmark::bench {

Painter::Painter() : connection(xcb_connect(nullptr, nullptr)) {
  if (xcb_connection_has_error(connection)) {
    xcb_disconnect(connection);
    throw std::runtime_error("no X server");
  }
  root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  context = xcb_generate_id(connection);
  const std::uint32_t noExposures = 0;
  xcb_create_gc(connection, context, root, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
}

Painter::~Painter() {
  xcb_disconnect(connection);
}

std::uint32_t Painter::Load(const cv::Mat& bgr) {
  constexpr std::uint8_t depth = 24;
  constexpr int stripRows = 32;  // keeps a request below the size every server takes
  const xcb_pixmap_t pixmap = xcb_generate_id(connection);
  xcb_create_pixmap(connection, depth, pixmap, root, static_cast<std::uint16_t>(bgr.cols),
                    static_cast<std::uint16_t>(bgr.rows));
  cv::Mat bgrx;
  cv::cvtColor(bgr, bgrx, cv::COLOR_BGR2BGRA);
  for (int row = 0; row < bgrx.rows; row += stripRows) {
    const cv::Mat strip = bgrx.rowRange(row, std::min(row + stripRows, bgrx.rows));
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context,
                  static_cast<std::uint16_t>(strip.cols), static_cast<std::uint16_t>(strip.rows), 0,
                  static_cast<std::int16_t>(row), 0, depth,
                  static_cast<std::uint32_t>(strip.total() * strip.elemSize()), strip.data);
  }
  return pixmap;
}

void Painter::SetGround(std::uint32_t window, std::uint32_t pixmap) {
  xcb_change_window_attributes(connection, window, XCB_CW_BACK_PIXMAP, &pixmap);
  xcb_clear_area(connection, 0, window, 0, 0, 0, 0);
  Flush();
}

void Painter::Draw(std::uint32_t window, std::uint32_t pixmap, const cv::Rect& at) {
  xcb_copy_area(connection, pixmap, window, context, 0, 0, static_cast<std::int16_t>(at.x),
                static_cast<std::int16_t>(at.y), static_cast<std::uint16_t>(at.width),
                static_cast<std::uint16_t>(at.height));
}

void Painter::Erase(std::uint32_t window, const cv::Rect& at) {
  xcb_clear_area(connection, 0, window, static_cast<std::int16_t>(at.x), static_cast<std::int16_t>(at.y),
                 static_cast<std::uint16_t>(at.width), static_cast<std::uint16_t>(at.height));
}

void Painter::Flush() {
  xcb_flush(connection);
}

void Painter::Sync() {
  std::free(::xcb_get_input_focus_reply(connection, ::xcb_get_input_focus(connection), nullptr));
}

}  // namespace quillmark::bench
