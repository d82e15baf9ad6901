// Seeded screen-like images, the same on every host, and the worker's regions and specs made from them.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <random>
#include <string>

#include "core/FrameJob.h"
#include "specs/TemplateSpec.h"

namespace quillmark::testing {

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  // From low to high, both included.
  int Between(int low, int high) { return low + static_cast<int>(engine_() % (high - low + 1u)); }
  bool OneIn(int n) { return Between(1, n) == 1; }
  // A colour with levels inside the bounds.
  cv::Scalar Colour(int low = 0, int high = 255) {
    const int b = Between(low, high), g = Between(low, high), r = Between(low, high);
    return cv::Scalar(b, g, r);
  }
  std::string Letters(int count);

 private:
  std::mt19937 engine_;  // its sequence is fixed by the language
};

// Random levels in every channel.
cv::Mat Noise(Random& random, cv::Size size, int type = CV_8UC3);
// BGR: a flat or graded background, panels with borders, lines of small text, small shapes.
cv::Mat Screen(Random& random, cv::Size size);
// BGR: a button of several vivid colours: ground, border, disc and a letter or two.
cv::Mat Icon(Random& random, cv::Size size, const std::string& letters);
// 8-bit grey: two uniform halves.
cv::Mat GreyColumns(int left, int right, cv::Size size = {20, 20});
// BGR: `text` in small type on a flat ground.
cv::Mat Label(cv::Size size, const std::string& text, const cv::Scalar& ground, const cv::Scalar& ink);

// The image with each level moved by at most `amount`.
cv::Mat WithNoise(Random& random, const cv::Mat& image, int amount);
cv::Mat WithHueShift(const cv::Mat& bgr, int units);
cv::Mat Inverted(const cv::Mat& image);
void Plant(cv::Mat& screen, const cv::Mat& image, cv::Point at);

// A region at desktop (0, 0) whose crops all show `bgr`.
ROIUnit UnitShowing(const cv::Mat& bgr);
// A spec with default limits and an empty target rectangle, prepared from an image file. One thread at a
// time.
TemplateSpec PreparedSpec(const cv::Mat& bgr, MatchMode mode = MatchMode::Gray);

}  // namespace quillmark::testing
