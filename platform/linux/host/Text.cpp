#include "host/Text.h"

#include <cstdint>

namespace quillmark::layer {
namespace {

constexpr std::uint32_t replacement = 0xFFFD;

bool IsHighSurrogate(std::uint32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(std::uint32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUtf8(std::string& bytes, std::uint32_t code) {
  const auto put = [&](std::uint32_t byte) { bytes.push_back(static_cast<char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | code >> 6);
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | code >> 18);
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

void AppendUnits(std::wstring& wide, std::uint32_t code) {
  if (code < 0x10000) {
    wide.push_back(static_cast<wchar_t>(code));
  } else {
    wide.push_back(static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10)));
    wide.push_back(static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
  }
}

struct Decoded {
  std::uint32_t code = replacement;
  std::size_t length = 1;  // bytes taken; of an ill-formed piece, those that could have begun a character
  bool valid = false;
};

Decoded DecodeOne(std::string_view bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead < 0xC2 || lead > 0xF4) return {};

  const std::size_t count = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  std::uint32_t code = lead & (0x7Fu >> count);
  for (std::size_t i = 1; i < count; ++i) {
    // The second byte's range leaves out overlong forms, surrogates and what lies beyond U+10FFFF.
    std::uint8_t low = 0x80, high = 0xBF;
    if (i == 1 && lead == 0xE0) low = 0xA0;
    if (i == 1 && lead == 0xED) high = 0x9F;
    if (i == 1 && lead == 0xF0) low = 0x90;
    if (i == 1 && lead == 0xF4) high = 0x8F;
    if (i >= bytes.size() || byte(i) < low || byte(i) > high) return {replacement, i, false};
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  return {code, count, true};
}

}  // namespace

std::string ToUtf8(std::wstring_view wide, bool* valid) {
  std::string bytes;
  bytes.reserve(wide.size());
  bool good = true;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto code = static_cast<std::uint32_t>(wide[i]);
    const bool paired = IsHighSurrogate(code) && i + 1 < wide.size() &&
                        IsLowSurrogate(static_cast<std::uint32_t>(wide[i + 1]));
    if (paired) {
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<std::uint32_t>(wide[++i]) - 0xDC00);
    } else if (IsHighSurrogate(code) || IsLowSurrogate(code) || code > 0xFFFF) {
      code = replacement;
      good = false;
    }
    AppendUtf8(bytes, code);
  }
  if (valid) *valid = good;
  return bytes;
}

std::wstring FromUtf8(std::string_view bytes, bool* valid) {
  std::wstring wide;
  wide.reserve(bytes.size());
  bool good = true;
  while (!bytes.empty()) {
    const Decoded one = DecodeOne(bytes);
    AppendUnits(wide, one.code);
    good = good && one.valid;
    bytes.remove_prefix(one.length);
  }
  if (valid) *valid = good;
  return wide;
}

}  // namespace quillmark::layer
