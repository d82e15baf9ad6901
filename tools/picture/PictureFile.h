// Reads image files as the worker would see them, and lists folders of them.
//
// Threading: free functions without state.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "reasons/Reasons.h"

namespace quillmark {

struct PictureFile {
  cv::Mat bgra;                           // 8UC4; empty on a fault
  std::optional<reasons::Reason> reason;  // why the worker would reject it as a template
  std::string fault;                      // the same as a sentence, with the library's error
};
// `path` is UTF-16.
[[nodiscard]] PictureFile ReadPicture(const std::wstring& path);

// The file itself, or the regular files of the folder, sorted by name, without subfolders. Paths are UTF-8.
// Raises std::runtime_error when the path does not exist or cannot be listed.
[[nodiscard]] std::vector<std::string> FilesIn(const std::string& path);

}  // namespace quillmark
