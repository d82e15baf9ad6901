// A temporary folder of template files for one test; removed with everything in it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "specs/Utf8.h"
#include "support/TempFolder.h"

namespace quillmark::test {

using FileBytes = std::vector<std::uint8_t>;

inline FileBytes Encoded(const cv::Mat& image, const char* extension = ".png") {
  FileBytes file;
  if (!cv::imencode(extension, image, file)) throw std::runtime_error("cannot encode");
  return file;
}

inline bool SameImage(const cv::Mat& a, const cv::Mat& b) {
  return a.type() == b.type() && a.size() == b.size() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

class TemplateFolder {
 public:
  // Names are UTF-8.
  [[nodiscard]] std::filesystem::path Native(const std::string& name) const {
    return (folder.Path() / std::u8string(name.begin(), name.end())).make_preferred();
  }
  [[nodiscard]] std::string Utf8(const std::string& name) const {
    const std::u8string path = Native(name).u8string();
    return {path.begin(), path.end()};
  }
  [[nodiscard]] std::wstring Path(const std::string& name) const { return FromUtf8(Utf8(name)); }

  // Writes the file and returns its path.
  std::wstring Write(const std::string& name, const FileBytes& bytes) const {
    std::ofstream file(Native(name), std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + name);
    return Path(name);
  }
  std::wstring WriteImage(const std::string& name, const cv::Mat& image) const {
    return Write(name, Encoded(image));
  }

 private:
  TempFolder folder;
};

}  // namespace quillmark::test
