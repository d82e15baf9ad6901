// The version block that a program carries: a tree of nodes, each {length, value length, type, key, value,
// children} in UTF-16 and 16-bit fields, every part on a 4-byte boundary. A program for this host carries it
// in an ELF section of this name.
//
// Threading: constants.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quillmark::layer {

constexpr const char* versionSection = ".quillmark.version";

constexpr std::uint32_t fixedInfoSignature = 0xFEEF04BD;
constexpr std::uint16_t usEnglish = 0x0409;
constexpr std::uint16_t unicodeCodePage = 0x04B0;

// Writes a block at compile time. What does not fit ends the compilation.
class VersionBlockWriter {
 public:
  static constexpr std::size_t capacity = 1024;

  // One node: Begin, its value, its children as nodes of their own, End with what Begin gave.
  constexpr std::size_t Begin(std::u16string_view key, bool text) {
    Align();
    const std::size_t start = size_;
    Put16(0);
    Put16(0);
    Put16(text ? 1 : 0);
    PutText(key);
    Align();
    return start;
  }
  constexpr void End(std::size_t start) { Patch16(start, size_ - start); }
  // In units for text, in bytes else.
  constexpr void ValueLength(std::size_t start, std::size_t length) { Patch16(start + 2, length); }

  constexpr void Text(std::u16string_view key, std::u16string_view value) {
    const std::size_t start = Begin(key, true);
    PutText(value);
    ValueLength(start, value.size() + 1);
    End(start);
  }
  constexpr void Put16(std::uint16_t value) {
    bytes_.at(size_++) = static_cast<std::uint8_t>(value);
    bytes_.at(size_++) = static_cast<std::uint8_t>(value >> 8);
  }
  constexpr void Put32(std::uint32_t value) {
    Put16(static_cast<std::uint16_t>(value));
    Put16(static_cast<std::uint16_t>(value >> 16));
  }

  constexpr const std::array<std::uint8_t, capacity>& Bytes() const { return bytes_; }

 private:
  constexpr void Align() { size_ = (size_ + 3) / 4 * 4; }
  constexpr void PutText(std::u16string_view text) {
    for (const char16_t unit : text) Put16(unit);
    Put16(0);
  }
  constexpr void Patch16(std::size_t at, std::size_t value) {
    bytes_.at(at) = static_cast<std::uint8_t>(value);
    bytes_.at(at + 1) = static_cast<std::uint8_t>(value >> 8);
  }

  std::array<std::uint8_t, capacity> bytes_{};
  std::size_t size_ = 0;
};

// The whole block for a program: version numbers from major to tweak, and the version's own text.
constexpr std::array<std::uint8_t, VersionBlockWriter::capacity> MakeVersionBlock(
    const std::array<std::uint16_t, 4>& numbers, std::u16string_view version, std::u16string_view product) {
  VersionBlockWriter writer;
  const std::size_t root = writer.Begin(u"VS_VERSION_INFO", false);
  constexpr std::size_t fixedInfoSize = 52;
  writer.ValueLength(root, fixedInfoSize);
  writer.Put32(fixedInfoSignature);
  writer.Put32(0x00010000);               // version of the structure
  for (int copy = 0; copy < 2; ++copy) {  // of the file, then of the product
    writer.Put32(std::uint32_t{numbers[0]} << 16 | numbers[1]);
    writer.Put32(std::uint32_t{numbers[2]} << 16 | numbers[3]);
  }
  for (const std::uint32_t field : {0x3Fu, 0u, 0u, 1u, 0u, 0u, 0u}) writer.Put32(field);  // 1: a program

  const std::size_t texts = writer.Begin(u"StringFileInfo", true);
  const std::size_t language = writer.Begin(u"040904b0", true);
  writer.Text(u"FileVersion", version);
  writer.Text(u"ProductName", product);
  writer.Text(u"ProductVersion", version);
  writer.End(language);
  writer.End(texts);

  const std::size_t values = writer.Begin(u"VarFileInfo", true);
  const std::size_t translation = writer.Begin(u"Translation", false);
  writer.ValueLength(translation, 4);
  writer.Put16(usEnglish);
  writer.Put16(unicodeCodePage);
  writer.End(translation);
  writer.End(values);
  writer.End(root);
  return writer.Bytes();
}

}  // namespace quillmark::layer
