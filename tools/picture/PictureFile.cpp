#include "picture/PictureFile.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iterator>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <system_error>

#include "specs/ImageFile.h"
#include "specs/Utf8.h"
#include "text/Printable.h"

namespace quillmark {
namespace {

namespace fs = std::filesystem;

// Indexed by ImageFault.
constexpr const char* kFaults[] = {"",
                                   "cannot be opened",
                                   "is not a regular file",
                                   "is empty",
                                   "cannot be read",
                                   "is larger than 64 MiB",
                                   "is not an image of a known format",
                                   "has more than 2^26 pixels",
                                   "is damaged"};
static_assert(std::size(kFaults) == static_cast<std::size_t>(ImageFault::Damaged) + 1);

}  // namespace

PictureFile ReadPicture(const std::wstring& path) {
  PictureFile file;
  try {
    ImageFault fault = ImageFault::None;
    const cv::Mat image = ReadImageFile(path, &fault);
    if (image.empty()) {
      file.fault = kFaults[static_cast<std::size_t>(fault)];
      file.isImage = fault != ImageFault::UnknownFormat;
      return file;
    }
    const int channels = image.channels();
    if (image.depth() != CV_8U || channels == 2) {
      file.fault = "must be grey or colour with 8 bits per channel";
    } else if (channels == 4) {
      file.bgra = image;
    } else {
      cv::cvtColor(image, file.bgra, channels == 3 ? cv::COLOR_BGR2BGRA : cv::COLOR_GRAY2BGRA);
    }
  } catch (const std::exception& error) {
    file.fault = "is rejected by the image library: " + ToUtf8(CauseOf(error));
  }
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
