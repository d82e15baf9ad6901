// Reads a template image file. Its path comes from another process, so the file is opened once, must be a
// regular file of bounded size, and must announce a picture of bounded size before anything is decoded. The
// decoder gets the bytes, because its own file access cannot open every path.
//
// Threading: no shared state, callable from any thread; blocks on the disk.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

namespace quillmark {

inline constexpr std::int64_t kMaxImageFileBytes = std::int64_t{64} << 20;
inline constexpr std::uint64_t kMaxImagePixels = std::uint64_t{64} << 20;

// Why a file cannot be used.
enum class ImageFault : std::int32_t {
  None,
  NotOpened,  // missing, a folder, or not readable
  NoRegularFile,
  Empty,
  Unreadable,
  TooManyBytes,
  UnknownFormat,  // or no size in the header
  TooManyPixels,
  Damaged,  // the decoder fails
};

// Decodes the file at `path` (UTF-16), with the file's channels and depth. On failure: empty, and `fault`
// says why. Raises std::system_error for a path with an unpaired surrogate, and what the decoder
// raises: it cannot be loaded, is out of memory, or meets one of its limits or a disabled codec.
[[nodiscard]] cv::Mat ReadImageFile(const std::wstring& path, ImageFault* fault = nullptr);

}  // namespace quillmark
