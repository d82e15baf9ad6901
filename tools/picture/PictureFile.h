// Reads screenshots as the worker would see them, and lists folders of them.
//
// Threading: free functions without state.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace quillmark {

struct PictureFile {
  cv::Mat bgra;         // 8UC4; empty on a fault
  std::string fault;    // completes a sentence that begins with the file's name
  bool isImage = true;  // false if the file's first bytes match no image format
};
// `path` is UTF-16.
[[nodiscard]] PictureFile ReadPicture(const std::wstring& path);

// The file itself, or the regular files of the folder, sorted by name, without subfolders. Paths are UTF-8.
// Raises std::runtime_error when the path does not exist or cannot be listed.
[[nodiscard]] std::vector<std::string> FilesIn(const std::string& path);

}  // namespace quillmark
