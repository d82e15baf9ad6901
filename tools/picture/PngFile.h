// A PNG file with text entries.
//
// Threading: free functions without state.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

namespace quillmark {

// Keyword (1 to 79 characters of Latin-1) and text (UTF-8) of each entry.
using PngTexts = std::vector<std::pair<std::string, std::string>>;

// The bytes of a PNG file of an 8UC3 BGR picture. ASCII texts go into tEXt chunks, others into iTXt. Raises
// std::runtime_error when encoding fails.
[[nodiscard]] std::string EncodePng(const cv::Mat& bgr, const PngTexts& texts);

}  // namespace quillmark
