#include "specs/ImageFile.h"

#include <windows.h>

#include <optional>
#include <vector>

#include "platform/UniqueHandle.h"
#include "specs/ImageDecoder.h"
#include "specs/ImageHeader.h"
#include "specs/Utf8.h"

namespace quillmark {
namespace {

ImageFault ReadRegularFile(const std::wstring& path, std::vector<std::uint8_t>& bytes) {
  const HANDLE opened =
      ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return ImageFault::NotOpened;
  const UniqueHandle file(opened);

  LARGE_INTEGER size{};
  if (::GetFileType(file.Get()) != FILE_TYPE_DISK) return ImageFault::NoRegularFile;
  if (!::GetFileSizeEx(file.Get(), &size)) return ImageFault::Unreadable;
  if (size.QuadPart <= 0) return ImageFault::Empty;
  if (size.QuadPart > kMaxImageFileBytes) return ImageFault::TooManyBytes;

  bytes.resize(static_cast<std::size_t>(size.QuadPart));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    DWORD got = 0;
    const DWORD wanted = static_cast<DWORD>(bytes.size() - filled);
    if (!::ReadFile(file.Get(), bytes.data() + filled, wanted, &got, nullptr)) return ImageFault::Unreadable;
    if (got == 0) break;  // the file shrank meanwhile
    filled += got;
  }
  bytes.resize(filled);
  return ImageFault::None;
}

ImageFault Decode(const std::wstring& path, cv::Mat& picture) {
  std::vector<std::uint8_t> bytes;
  if (const ImageFault fault = ReadRegularFile(path, bytes); fault != ImageFault::None) return fault;
  const std::optional<ImageSize> size = ReadImageSize(bytes);
  if (!size) return ImageFault::UnknownFormat;
  if (size->height > kMaxImagePixels / size->width) return ImageFault::TooManyPixels;
  picture = DecodeImage(bytes);
  return picture.empty() ? ImageFault::Damaged : ImageFault::None;
}

}  // namespace

cv::Mat ReadImageFile(const std::wstring& path, ImageFault* fault) {
  (void)ToUtf8(path);  // raises for an unpaired surrogate, which the platform would accept
  cv::Mat picture;
  const ImageFault result = Decode(path, picture);
  if (fault != nullptr) *fault = result;
  return picture;
}

}  // namespace quillmark
