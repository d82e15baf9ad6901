// How large an image file says its picture is, read from the file's header alone. The size is wanted before
// decoding, because a file of a few kilobytes can announce a picture of many gigabytes.
//
// Strategy: signatures choose a parser; a parser reads at offsets, and everything beyond the end reads as 0,
// which no valid size is. Where a header can state its size more than once, the largest counts.
// Threading: no shared state, callable from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quillmark {

// In pixels, both above 0.
struct ImageSize {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
};

// The announced size of the first picture in `file`, which holds a whole PNG, JPEG, BMP, GIF, TIFF, WebP, PNM
// (P1 to P7), PFM, Radiance, Sun raster, JPEG 2000 or OpenEXR file. Empty for any other format, for a header
// that is cut short or contradicts itself, and for a size of 0. Nothing past the header is checked.
[[nodiscard]] std::optional<ImageSize> ReadImageSize(std::span<const std::uint8_t> file);

}  // namespace quillmark
