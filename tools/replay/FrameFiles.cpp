#include "replay/FrameFiles.h"

#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <vector>

#include "specs/ImageFile.h"
#include "specs/Utf8.h"

namespace quillmark::replay {

std::filesystem::path PathIn(const std::filesystem::path& folder, const std::string& file) {
  return folder / std::filesystem::path(std::u8string(file.begin(), file.end()));
}

std::wstring WidePath(const std::filesystem::path& path) {
  const std::u8string bytes = path.u8string();
  return FromUtf8(std::string(bytes.begin(), bytes.end()));
}

cv::Mat LoadFrame(const std::filesystem::path& path, const Rect& monitor) {
  cv::Mat picture;
  try {
    picture = ReadImageFile(WidePath(path));
  } catch (const cv::Exception& error) {
    throw std::runtime_error("the image library refuses it: " + error.err);
  }
  if (picture.empty()) throw std::runtime_error("is missing, too large or no picture");
  if (picture.depth() != CV_8U) throw std::runtime_error("has another depth than 8 bits a channel");
  const cv::Size size(monitor.right - monitor.left, monitor.bottom - monitor.top);
  if (picture.size() != size) {
    throw std::runtime_error("is " + std::to_string(picture.cols) + " x " + std::to_string(picture.rows) +
                             " pixels large, its monitor " + std::to_string(size.width) + " x " +
                             std::to_string(size.height));
  }
  if (picture.channels() == 4) return picture;
  if (picture.channels() == 2) throw std::runtime_error("has two channels, grey with alpha");
  cv::Mat bgra;
  cv::cvtColor(picture, bgra, picture.channels() == 1 ? cv::COLOR_GRAY2BGRA : cv::COLOR_BGR2BGRA);
  return bgra;
}

void SaveFrame(const std::filesystem::path& path, const cv::Mat& bgra) {
  cv::Mat bgr;
  cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
  std::vector<unsigned char> bytes;
  // Screens compress well even at the fastest level.
  if (!cv::imencode(".png", bgr, bytes, {cv::IMWRITE_PNG_COMPRESSION, 1})) {
    throw std::runtime_error("a picture cannot be encoded");
  }
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) {
    const std::u8string name = path.u8string();
    throw std::runtime_error(std::string(name.begin(), name.end()) + " cannot be written");
  }
}

}  // namespace quillmark::replay
