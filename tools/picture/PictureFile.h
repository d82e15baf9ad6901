// Screenshots as files: read as the worker would see them, and listed from folders.
//
// Threading: free functions without state.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace quillmark {

// Either the picture, 8UC4, or why there is none.
struct PictureFile {
  cv::Mat bgra;
  std::string fault;    // a sentence without its full stop; empty with a picture
  bool isImage = true;  // false when the file's first bytes are those of no image format
};
// `path` is UTF-16.
[[nodiscard]] PictureFile ReadPicture(const std::wstring& path);

// The file itself, or the regular files of the folder, not of those below it, in the order of their names.
// Raises std::runtime_error when there is no such file or folder, or it cannot be listed. Paths are UTF-8.
[[nodiscard]] std::vector<std::string> FilesIn(const std::string& path);

}  // namespace quillmark
