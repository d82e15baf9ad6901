#include "picture/PictureFile.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <system_error>

#include "specs/ImageFile.h"
#include "specs/Utf8.h"
#include "text/Printable.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;
using reasons::Reason;

// In the same order; None has the place of ImagePath.
Reason ReasonOf(ImageFault fault) {
  constexpr auto before = static_cast<std::int32_t>(Reason::ImagePath);
  static_assert(before + static_cast<std::int32_t>(ImageFault::Damaged) ==
                static_cast<std::int32_t>(Reason::ImageDamaged));
  return static_cast<Reason>(before + static_cast<std::int32_t>(fault));
}

}  // namespace

PictureFile ReadPicture(const std::wstring& path) {
  PictureFile file;
  std::string cause;
  try {
    ImageFault fault = ImageFault::None;
    const cv::Mat image = ReadImageFile(path, &fault);
    const int channels = image.channels();
    if (image.empty()) {
      file.reason = ReasonOf(fault);
    } else if (image.depth() != CV_8U) {
      file.reason = Reason::ImageDepth;
    } else if (channels == 2) {
      file.reason = Reason::ImageChannels;
    } else if (channels == 4) {
      file.bgra = image;
    } else {
      cv::cvtColor(image, file.bgra, channels == 3 ? cv::COLOR_BGR2BGRA : cv::COLOR_GRAY2BGRA);
    }
  } catch (const std::system_error&) {
    file.reason = Reason::ImagePath;
  } catch (const std::exception& error) {
    file.reason = Reason::ImageRefused;
    cause = " (" + ToUtf8(CauseOf(error)) + ")";
  }
  if (file.reason) file.fault = std::string(reasons::EntryOf(*file.reason).meaning) + cause;
  return file;
}

std::vector<std::string> FilesIn(const std::string& path) {
  const fs::path given = PathOf(path);
  std::error_code error;
  const fs::file_status status = fs::status(given, error);
  if (!fs::exists(status)) throw std::runtime_error("'" + path + "' does not exist");
  if (!fs::is_directory(status)) return {path};
  std::vector<std::string> files;
  fs::directory_iterator entry(given, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code unknown;
    if (entry->is_regular_file(unknown)) files.push_back(Utf8Of(entry->path()));
  }
  if (error) throw std::runtime_error("'" + path + "' cannot be listed: " + error.message());
  std::ranges::sort(files);
  return files;
}

}  // namespace quillmark
