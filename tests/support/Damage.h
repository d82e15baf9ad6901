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

// What a terminal shows as one line that can be read: well-formed text of some hundred bytes at most, without
// a control character.
[[nodiscard]] bool IsOneLine(const std::string& text);

// JSON that is changed in one to three places.
[[nodiscard]] std::string DamagedJson(Random& random, std::string text);

// Files of one picture, one of each kind that the image library writes here.
class PictureFiles {
 public:
  using Bytes = std::vector<std::uint8_t>;

  explicit PictureFiles(const cv::Mat& bgr);
  // One of them with its bytes, bits, sizes or pieces changed, or cut short; the sums of a PNG's chunks may
  // agree with the damage. None announces a picture that is possible and only takes long.
  [[nodiscard]] Bytes Damaged(Random& random) const;

 private:
  std::vector<Bytes> files;
};

}  // namespace quillmark::testing
