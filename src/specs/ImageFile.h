// A template image file as the controller named it. The path comes from another process, so the file is
// taken with care: it is opened once, must be a regular file of bounded size, and its announced picture is
// held against a limit before anything is decoded. Reading it whole first also serves paths that the
// decoder's own file access cannot express.
//
// Threading: no shared state, callable from any thread; blocks for as long as the disk does.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

namespace quillmark {

inline constexpr std::int64_t kMaxImageFileBytes = std::int64_t{64} << 20;
inline constexpr std::uint64_t kMaxImagePixels = std::uint64_t{64} << 20;

// Why a file gives no picture.
enum class ImageFault : std::int32_t {
  None,
  NotOpened,  // there is none, it is a folder, or it may not be read
  NoRegularFile,
  Empty,
  Unreadable,
  TooManyBytes,
  UnknownFormat,  // or a header without a size
  TooManyPixels,
  Damaged,  // the decoder gives it up
};

// The decoded picture of the file at `path` (UTF-16), channels and depth as in the file. Empty when there is
// none; `fault`, when asked for, then says why. Raises std::system_error for a path with an unpaired
// surrogate, and lets through what the image library raises: want of memory, a limit of its own, a codec that
// is switched off.
[[nodiscard]] cv::Mat ReadImageFile(const std::wstring& path, ImageFault* fault = nullptr);

}  // namespace quillmark
