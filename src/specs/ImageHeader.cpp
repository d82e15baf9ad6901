#include "specs/ImageHeader.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace quillmark {
namespace {

using namespace std::string_view_literals;

constexpr ImageSize kNoSize;

// Checked access to a file's bytes: a field that is not entirely inside the file reads as 0.
class Bytes {
 public:
  explicit Bytes(std::span<const std::uint8_t> file) : file_(file) {}

  std::uint64_t Length() const { return file_.size(); }
  bool Has(std::uint64_t offset, std::uint64_t count) const {
    return offset <= file_.size() && count <= file_.size() - offset;
  }
  std::uint8_t At(std::uint64_t offset) const { return Has(offset, 1) ? file_[offset] : 0; }
  bool Is(std::uint64_t offset, std::string_view text) const {
    return Has(offset, text.size()) && Text(offset, text.size()) == text;
  }
  std::string_view Text(std::uint64_t offset, std::uint64_t count) const {
    return {reinterpret_cast<const char*>(file_.data()) + offset, static_cast<std::size_t>(count)};
  }
  std::string_view Text() const { return Text(0, Length()); }

  std::uint64_t Big(std::uint64_t offset, int count) const {
    std::uint64_t value = 0;
    for (int i = 0; i < count && Has(offset, count); ++i) value = value << 8 | file_[offset + i];
    return value;
  }
  std::uint64_t Little(std::uint64_t offset, int count) const {
    std::uint64_t value = 0;
    for (int i = count - 1; i >= 0 && Has(offset, count); --i) value = value << 8 | file_[offset + i];
    return value;
  }
  std::int64_t LittleSigned32(std::uint64_t offset) const {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(Little(offset, 4)));
  }

 private:
  std::span<const std::uint8_t> file_;
};

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes blanks and "#" comments off the front of `text`.
void SkipBlanks(std::string_view& text) {
  while (!text.empty() && (IsBlank(text.front()) || text.front() == '#')) {
    text.remove_prefix(text.front() == '#' ? std::min(text.find('\n'), text.size()) : 1);
  }
}

// Takes a number off `text`; 0 without one. Capped beyond what any decoder accepts.
std::uint64_t TakeNumber(std::string_view& text) {
  constexpr std::uint64_t kLargest = std::uint64_t{1} << 32;
  SkipBlanks(text);
  std::uint64_t value = 0;
  for (; !text.empty() && IsDigit(text.front()); text.remove_prefix(1)) {
    value = std::min(kLargest, value * 10 + static_cast<std::uint64_t>(text.front() - '0'));
  }
  return value;
}

ImageSize Png(const Bytes& file) {
  if (!file.Is(12, "IHDR"sv)) return kNoSize;
  return {file.Big(16, 4), file.Big(20, 4)};
}

// The first frame header. Before it come bare markers and segments with a length.
ImageSize Jpeg(const Bytes& file) {
  for (std::uint64_t at = 2; at < file.Length();) {
    if (file.At(at) != 0xFF || file.At(at + 1) == 0xFF) {  // garbage and fill bytes before a marker
      ++at;
      continue;
    }
    const std::uint8_t marker = file.At(at + 1);
    at += 2;
    if (marker == 0x00 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;
    if (marker >= 0xD8 && marker <= 0xDA) break;  // a second image, its end, or pixels without a frame
    const bool frame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (frame) return {file.Big(at + 5, 2), file.Big(at + 3, 2)};
    const std::uint64_t length = file.Big(at, 2);
    if (length < 2) break;
    at += length;
  }
  return kNoSize;
}

ImageSize Bmp(const Bytes& file) {
  if (file.Little(14, 4) == 12) return {file.Little(18, 2), file.Little(20, 2)};
  const std::int64_t width = file.LittleSigned32(18);
  const std::int64_t height = file.LittleSigned32(22);  // negative when the rows run from top to bottom
  if (width < 0) return kNoSize;
  return {static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height < 0 ? -height : height)};
}

ImageSize Gif(const Bytes& file) {
  return {file.Little(6, 2), file.Little(8, 2)};
}

// The first directory's width and length. Entries in an unusual form are refused, as decoders may accept
// them.
ImageSize Tiff(const Bytes& file) {
  const bool big = file.At(0) == 'M';
  const auto number = [&](std::uint64_t offset, int count) {
    return big ? file.Big(offset, count) : file.Little(offset, count);
  };
  const bool wide = number(2, 2) == 43;  // 64-bit offsets and counts
  if (wide && number(4, 2) != 8) return kNoSize;
  const int word = wide ? 8 : 4;
  const std::uint64_t directory = wide ? number(8, 8) : number(4, 4);
  if (!file.Has(directory, 8)) return kNoSize;

  const std::uint64_t countBytes = wide ? 8 : 2;
  const std::uint64_t entryBytes = 4 + 2 * static_cast<std::uint64_t>(word);
  const std::uint64_t first = directory + countBytes;
  const std::uint64_t room = file.Has(first, 0) ? (file.Length() - first) / entryBytes : 0;
  const std::uint64_t entries = std::min(number(directory, static_cast<int>(countBytes)), room);
  ImageSize size;
  for (std::uint64_t i = 0; i < entries; ++i) {
    const std::uint64_t entry = first + i * entryBytes;
    const std::uint64_t tag = number(entry, 2);
    if (tag != 256 && tag != 257) continue;
    const std::uint64_t type = number(entry + 2, 2);
    const int bytes = type == 3 ? 2 : type == 4 ? 4 : type == 16 && wide ? 8 : 0;
    if (bytes == 0 || number(entry + 4, word) != 1) return kNoSize;
    std::uint64_t& side = tag == 256 ? size.width : size.height;
    side = std::max(side, number(entry + 4 + static_cast<std::uint64_t>(word), bytes));
  }
  return size;
}

ImageSize WebP(const Bytes& file) {
  if (!file.Has(0, 30)) return kNoSize;
  if (file.Is(12, "VP8 "sv) && file.Is(23, "\x9D\x01\x2A"sv)) {
    return {file.Little(26, 2) & 0x3FFF, file.Little(28, 2) & 0x3FFF};
  }
  if (file.Is(12, "VP8L"sv) && file.At(20) == 0x2F) {
    const std::uint64_t bits = file.Little(21, 4);
    return {(bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1};
  }
  if (file.Is(12, "VP8X"sv)) return {file.Little(24, 3) + 1, file.Little(27, 3) + 1};
  return kNoSize;
}

ImageSize Pnm(const Bytes& file) {
  std::string_view text = file.Text().substr(2);
  if (text.empty() || !IsBlank(text.front())) return kNoSize;
  const std::uint64_t width = TakeNumber(text);
  return {width, TakeNumber(text)};
}

// Exactly one blank before each number: with more, the decoder finds a size of 0 and leaks a temporary file.
ImageSize Pfm(const Bytes& file) {
  std::string_view text = file.Text().substr(2);
  const auto side = [&text]() -> std::uint64_t {
    if (text.size() < 2 || !IsBlank(text[0]) || !IsDigit(text[1])) return 0;
    return TakeNumber(text);
  };
  const std::uint64_t width = side();
  return {width, side()};
}

// One key and value per line, up to ENDHDR.
ImageSize Pam(const Bytes& file) {
  ImageSize size;
  std::string_view text = file.Text().substr(2);
  for (SkipBlanks(text); !text.empty() && !text.starts_with("ENDHDR"sv); SkipBlanks(text)) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size());
    for (const auto& [key, side] : {std::pair{"WIDTH"sv, &size.width}, std::pair{"HEIGHT"sv, &size.height}}) {
      if (!line.starts_with(key)) continue;
      line.remove_prefix(key.size());
      *side = std::max(*side, TakeNumber(line));
    }
  }
  return size;
}

// The resolution, "-Y height +X width". Decoders split overlong header lines differently, so every place
// where one could find it counts.
ImageSize Radiance(const Bytes& file) {
  ImageSize size;
  const std::string_view whole = file.Text();
  for (auto at = whole.find("-Y"sv); at != whole.npos; at = whole.find("-Y"sv, at + 2)) {
    std::string_view text = whole.substr(at + 2);
    const std::uint64_t height = TakeNumber(text);
    SkipBlanks(text);
    if (!text.starts_with("+X"sv)) continue;
    text.remove_prefix(2);
    size.width = std::max(size.width, TakeNumber(text));
    size.height = std::max(size.height, height);
  }
  return size;
}

ImageSize SunRaster(const Bytes& file) {
  return {file.Big(4, 4), file.Big(8, 4)};
}

// A code stream begins with the size of its reference grid, which is at least the picture's.
ImageSize Jpeg2000Stream(const Bytes& file, std::uint64_t stream) {
  if (!file.Is(stream, "\xFF\x4F\xFF\x51"sv)) return kNoSize;
  return {file.Big(stream + 8, 4), file.Big(stream + 12, 4)};
}

ImageSize Jpeg2000Boxes(const Bytes& file) {
  for (std::uint64_t box = 0; file.Has(box, 8);) {
    const bool longForm = file.Big(box, 4) == 1;
    const std::uint64_t header = longForm ? 16 : 8;
    if (file.Is(box + 4, "jp2c"sv)) return Jpeg2000Stream(file, box + header);
    const std::uint64_t length = longForm ? file.Big(box + 8, 8) : file.Big(box, 4);
    if (length < header || !file.Has(box, length)) break;
    box += length;
  }
  return kNoSize;
}

// Attributes with name, type, size and value. Decoders decode the data window.
ImageSize OpenExr(const Bytes& file) {
  ImageSize size;
  std::uint64_t at = 8;
  while (file.At(at) != 0) {
    const std::uint64_t nameEnd = file.Text().find('\0', at);
    const std::uint64_t typeEnd =
        nameEnd == std::string_view::npos ? nameEnd : file.Text().find('\0', nameEnd + 1);
    if (typeEnd == std::string_view::npos) return kNoSize;
    const std::uint64_t value = typeEnd + 5;
    const std::uint64_t length = file.Little(typeEnd + 1, 4);
    if (!file.Has(value, length)) return kNoSize;
    if (file.Text(at, nameEnd - at) == "dataWindow"sv) {
      if (length != 16) return kNoSize;
      const std::int64_t width = file.LittleSigned32(value + 8) - file.LittleSigned32(value) + 1;
      const std::int64_t height = file.LittleSigned32(value + 12) - file.LittleSigned32(value + 4) + 1;
      if (width < 1 || height < 1) return kNoSize;
      size.width = std::max(size.width, static_cast<std::uint64_t>(width));
      size.height = std::max(size.height, static_cast<std::uint64_t>(height));
    }
    at = value + length;
  }
  return size;
}

ImageSize SizeOf(const Bytes& file) {
  struct Format {
    std::string_view signature;
    ImageSize (*read)(const Bytes&);
  };
  static constexpr Format kFormats[] = {
      {"\x89PNG\r\n\x1A\n"sv, Png},
      {"\xFF\xD8\xFF"sv, Jpeg},
      {"BM"sv, Bmp},
      {"GIF87a"sv, Gif},
      {"GIF89a"sv, Gif},
      {"II\x2A\0"sv, Tiff},
      {"MM\0\x2A"sv, Tiff},
      {"II\x2B\0"sv, Tiff},
      {"MM\0\x2B"sv, Tiff},
      {"P1"sv, Pnm},
      {"P2"sv, Pnm},
      {"P3"sv, Pnm},
      {"P4"sv, Pnm},
      {"P5"sv, Pnm},
      {"P6"sv, Pnm},
      {"P7"sv, Pam},
      {"PF"sv, Pfm},
      {"Pf"sv, Pfm},
      {"#?RADIANCE"sv, Radiance},
      {"#?RGBE"sv, Radiance},
      {"\x59\xA6\x6A\x95"sv, SunRaster},
      {"\0\0\0\x0CjP  \r\n\x87\n"sv, Jpeg2000Boxes},
      {"\xFF\x4F\xFF\x51"sv, [](const Bytes& stream) { return Jpeg2000Stream(stream, 0); }},
      {"\x76\x2F\x31\x01"sv, OpenExr},
  };
  if (file.Is(0, "RIFF"sv) && file.Is(8, "WEBP"sv)) return WebP(file);
  for (const Format& format : kFormats) {
    if (file.Is(0, format.signature)) return format.read(file);
  }
  return kNoSize;
}

}  // namespace

std::optional<ImageSize> ReadImageSize(std::span<const std::uint8_t> file) {
  const ImageSize size = SizeOf(Bytes(file));
  if (size.width == 0 || size.height == 0) return std::nullopt;
  return size;
}

}  // namespace quillmark
