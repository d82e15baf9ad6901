// Files with random damage, by seed.
//
// Threading: values and functions without shared state.
#pragma once

#include <cstdint>
#include <string>

#include "support/Images.h"

namespace quillmark::testing {

// The number of seeds for a test: the usual one, or QUILLMARK_SEEDS for a long run by hand.
[[nodiscard]] std::uint32_t Seeds(std::uint32_t usual);

// Whether it is one readable line: well-formed text of at most 500 bytes without control characters.
[[nodiscard]] bool IsOneLine(const std::string& text);

// The bytes with one to three places changed, removed, repeated or cut off.
[[nodiscard]] std::string Damaged(Random& random, std::string bytes);

}  // namespace quillmark::testing
