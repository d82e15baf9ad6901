// PNG files.
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

inline constexpr int kFastPng = 1, kSmallPng = 6;  // compression levels

// The bytes of a PNG file of a picture, 8UC3 BGR or 8UC1. ASCII texts go into tEXt chunks, others into iTXt.
// Raises std::runtime_error when encoding fails.
[[nodiscard]] std::string EncodePng(const cv::Mat& picture, int level, const PngTexts& texts = {});

}  // namespace quillmark
