// Draws pictures into X windows, over its own connection.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

struct xcb_connection_t;

namespace quillmark::bench {

class Painter {
 public:
  // Connects to DISPLAY. Throws std::runtime_error when there is no server.
  Painter();
  ~Painter();
  Painter(const Painter&) = delete;
  Painter& operator=(const Painter&) = delete;

  // A pixmap that shows an 8UC3 image (BGR); it lives as long as this object.
  std::uint32_t Load(const cv::Mat& bgr);
  // Sets what the window shows where nothing has been drawn.
  void SetGround(std::uint32_t window, std::uint32_t pixmap);
  void Draw(std::uint32_t window, std::uint32_t pixmap, const cv::Rect& at);
  // Restores the ground.
  void Erase(std::uint32_t window, const cv::Rect& at);
  // Sends what was drawn, without waiting for the server.
  void Flush();
  // Waits until the server has drawn everything.
  void Sync();

 private:
  xcb_connection_t* const connection;
  std::uint32_t root = 0, context = 0;
};

}  // namespace quillmark::bench
