// The pictures of an explanation, for people only: nothing is decided by them.
//
// Threading: pure functions.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "explain/Explanation.h"

namespace quillmark::explain {

// A PNG in a data URI.
[[nodiscard]] std::string DataUri(const cv::Mat& image);

// The screenshot as BGR, at most `maxPixels` wide and high.
[[nodiscard]] cv::Mat Overview(const Picture& picture, int maxPixels);

// The score map, BGR, of the region's size: each place is coloured at its centre, brighter where it is
// closer. The border, where no centre can be, is grey.
[[nodiscard]] cv::Mat HeatMap(const Sight& sight);

struct Tile {
  std::string caption;
  cv::Mat image;  // 8UC1 or 8UC3, of the template's size
};
struct TileRow {
  std::string title;
  std::vector<Tile> tiles;
};
// Template and places side by side: in colour, as the mode compares them, with their difference, and their
// edges if compared. The sight has a map, and its placement is inside the region.
[[nodiscard]] std::vector<TileRow> SideBySide(const TemplateSpec& spec, const Sight& sight);

}  // namespace quillmark::explain
