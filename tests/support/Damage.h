// Files as a disk, a transfer or a hand may leave them: whole ones, damaged by a seed.
//
// Threading: values and functions without shared state.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "support/Images.h"

namespace quillmark::testing {

// How many seeds a test of damage takes: so many, or what QUILLMARK_SEEDS says, for a long look by hand.
[[nodiscard]] std::uint32_t Seeds(std::uint32_t usual);

// Whether a terminal shows it as one readable line: well-formed text of at most 500 bytes without a control
// character.
[[nodiscard]] bool IsOneLine(const std::string& text);

// The bytes of a file with one to three places changed, left out, repeated or cut off.
[[nodiscard]] std::string Damaged(Random& random, std::string bytes);

// Files of one picture, in a few formats.
class PictureFiles {
 public:
  using Bytes = std::string;

  explicit PictureFiles(const cv::Mat& bgr);
  // One of them, damaged. None announces a size that is allowed but takes long.
  [[nodiscard]] Bytes Damaged(Random& random) const;

 private:
  std::vector<Bytes> files;
};

}  // namespace quillmark::testing
