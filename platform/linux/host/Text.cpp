#include "host/Text.h"

#include <cstdint>

namespace quillmark::layer {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;
constexpr std::uint32_t kHighSurrogates = 0xD800, kLowSurrogates = 0xDC00;  // the first of each

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
    wide.push_back(static_cast<wchar_t>(kHighSurrogates + ((code - 0x10000) >> 10)));
    wide.push_back(static_cast<wchar_t>(kLowSurrogates + ((code - 0x10000) & 0x3FF)));
  }
}

struct Decoded {
  std::uint32_t code = kReplacement;
  std::size_t length = 1;  // bytes taken; when invalid, those that could have begun a character
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
    // The second byte's range excludes overlong forms, surrogates and anything above U+10FFFF.
    std::uint8_t low = 0x80, high = 0xBF;
    if (i == 1 && lead == 0xE0) low = 0xA0;
    if (i == 1 && lead == 0xED) high = 0x9F;
    if (i == 1 && lead == 0xF0) low = 0x90;
    if (i == 1 && lead == 0xF4) high = 0x8F;
    if (i >= bytes.size() || byte(i) < low || byte(i) > high) return {kReplacement, i, false};
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  return {code, count, true};
}

}  // namespace

std::u32string Characters(std::wstring_view wide, bool* valid) {
  const auto isSurrogate = [&](std::size_t i, std::uint32_t first) {
    return i < wide.size() && (static_cast<std::uint32_t>(wide[i]) & ~0x3FFu) == first;
  };
  std::u32string characters;
  bool good = true;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto code = static_cast<std::uint32_t>(wide[i]);
    if (isSurrogate(i, kHighSurrogates) && isSurrogate(i + 1, kLowSurrogates)) {
      code = 0x10000 + ((code - kHighSurrogates) << 10) +
             (static_cast<std::uint32_t>(wide[++i]) - kLowSurrogates);
    } else if (isSurrogate(i, kHighSurrogates) || isSurrogate(i, kLowSurrogates) || code > 0xFFFF) {
      code = kReplacement;
      good = false;
    }
    characters += static_cast<char32_t>(code);
  }
  if (valid) *valid = good;
  return characters;
}

std::string ToUtf8(std::wstring_view wide, bool* valid) {
  std::string bytes;
  bytes.reserve(wide.size());
  for (const char32_t code : Characters(wide, valid)) AppendUtf8(bytes, code);
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
