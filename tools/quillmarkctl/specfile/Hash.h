// A short fingerprint, to detect changed content.
//
// Threading: free functions without state.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace quillmark::control {

// 64-bit FNV-1a in 16 hexadecimal digits. It detects accidental changes, not malicious ones.
[[nodiscard]] inline std::string HashOf(std::string_view content) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char byte : content) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  char digits[17];
  std::snprintf(digits, sizeof digits, "%08x%08x", static_cast<unsigned>(hash >> 32),
                static_cast<unsigned>(hash));
  return digits;
}

}  // namespace quillmark::control
