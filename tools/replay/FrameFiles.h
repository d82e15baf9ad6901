// The pictures of a recording as files.
//
// Threading: no shared state, callable from any thread.
#pragma once

#include <filesystem>
#include <opencv2/core.hpp>
#include <string>

#include "specs/TemplateSpec.h"

namespace quillmark::replay {

// UTF-8 at the folder's border; a relative file starts at the folder.
[[nodiscard]] std::filesystem::path PathIn(const std::filesystem::path& folder, const std::string& file);
[[nodiscard]] std::wstring WidePath(const std::filesystem::path& path);

// The picture of a monitor as the capture hands it out, 8UC4. Raises std::runtime_error, without the file's
// name, when the file holds no picture of 8 bits a channel and of the monitor's size.
[[nodiscard]] cv::Mat LoadFrame(const std::filesystem::path& path, const Rect& monitor);

// Writes the picture, 8UC4, without loss; its fourth byte is left out. Raises std::runtime_error.
void SaveFrame(const std::filesystem::path& path, const cv::Mat& bgra);

}  // namespace quillmark::replay
