#include "specs/ImageFile.h"

#include <windows.h>

#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <optional>
#include <vector>

#include "specs/ImageHeader.h"
#include "specs/Utf8.h"

namespace quillmark {
namespace {

struct HandleCloser {
  void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, HandleCloser>;

// The whole file; empty when it cannot be had.
std::vector<std::uint8_t> ReadRegularFile(const std::wstring& path) {
  const HANDLE opened =
      ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return {};
  const FileHandle file(opened);

  LARGE_INTEGER size{};
  if (::GetFileType(file.get()) != FILE_TYPE_DISK || !::GetFileSizeEx(file.get(), &size)) return {};
  if (size.QuadPart <= 0 || size.QuadPart > kMaxImageFileBytes) return {};

  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    DWORD got = 0;
    const DWORD wanted = static_cast<DWORD>(bytes.size() - filled);
    if (!::ReadFile(file.get(), bytes.data() + filled, wanted, &got, nullptr)) return {};
    if (got == 0) break;  // the file shrank meanwhile
    filled += got;
  }
  bytes.resize(filled);
  return bytes;
}

}  // namespace

cv::Mat ReadImageFile(const std::wstring& path) {
  (void)ToUtf8(path);  // the platform would take an unpaired surrogate, we do not
  const std::vector<std::uint8_t> bytes = ReadRegularFile(path);
  const std::optional<ImageSize> size = ReadImageSize(bytes);
  if (!size || size->height > kMaxImagePixels / size->width) return {};
  return cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
}

}  // namespace quillmark
