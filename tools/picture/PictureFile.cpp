#include "picture/PictureFile.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <system_error>

#include "specs/ImageFile.h"
#include "specs/Utf8.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

const char* TextOf(ImageFault fault) {
  switch (fault) {
    case ImageFault::NotOpened:
      return "cannot be opened";
    case ImageFault::NoRegularFile:
      return "is no regular file";
    case ImageFault::Empty:
      return "has no bytes";
    case ImageFault::Unreadable:
      return "cannot be read";
    case ImageFault::TooManyBytes:
      return "has more than 64 MiB";
    case ImageFault::UnknownFormat:
      return "is no image of a known format";
    case ImageFault::TooManyPixels:
      return "has more than 2^26 pixels";
    default:
      return "is damaged";
  }
}

std::string TextOf(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace

PictureFile ReadPicture(const std::wstring& path) {
  PictureFile file;
  try {
    ImageFault fault = ImageFault::None;
    const cv::Mat image = ReadImageFile(path, &fault);
    if (image.empty()) {
      file.fault = TextOf(fault);
      file.isImage = fault != ImageFault::UnknownFormat;
      return file;
    }
    const int channels = image.channels();
    if (image.depth() != CV_8U || channels == 2) {
      file.fault = "is no picture of 8 bits a channel, grey or colour";
    } else if (channels == 4) {
      file.bgra = image;
    } else {
      cv::cvtColor(image, file.bgra, channels == 3 ? cv::COLOR_BGR2BGRA : cv::COLOR_GRAY2BGRA);
    }
  } catch (const std::exception& error) {
    file.fault = "is refused: " + ToUtf8(CauseOf(error));
  }
  return file;
}

std::vector<std::string> FilesIn(const std::string& path) {
  const fs::path given(std::u8string(path.begin(), path.end()));
  std::error_code error;
  const fs::file_status status = fs::status(given, error);
  if (!fs::exists(status)) throw std::runtime_error("'" + path + "' does not exist");
  if (!fs::is_directory(status)) return {path};
  std::vector<std::string> files;
  fs::directory_iterator entry(given, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code unknown;
    if (entry->is_regular_file(unknown)) files.push_back(TextOf(entry->path()));
  }
  if (error) throw std::runtime_error("'" + path + "' cannot be listed: " + error.message());
  std::ranges::sort(files);
  return files;
}

}  // namespace quillmark
