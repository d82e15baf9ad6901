// Reads the picture size from an image file's header before the file is decoded: a few kilobytes can announce
// a picture of many gigabytes.
//
// Strategy: the signature chooses a parser. Bytes beyond the end read as 0, never a valid size. Where a
// header states its size more than once, the largest counts. Threading: no shared state, callable from any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quillmark {

// In pixels.
struct ImageSize {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
};

// The size of the first picture in a PNG, JPEG, BMP, GIF, TIFF, WebP, PNM (P1 to P7), PFM, Radiance, Sun
// raster, JPEG 2000 or OpenEXR file. Empty for any other format, for a header that is cut short or
// contradicts itself, and when a side is 0. Nothing after the header is checked.
[[nodiscard]] std::optional<ImageSize> ReadImageSize(std::span<const std::uint8_t> file);

}  // namespace quillmark
