#include "support/Damage.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string_view>

#include "specs/ImageFile.h"
#include "specs/ImageHeader.h"
#include "specs/Utf8.h"

namespace quillmark::testing {
namespace {

using namespace std::string_view_literals;
using Bytes = PictureFiles::Bytes;

constexpr std::uint64_t kSlowPixels = 1u << 18;

std::size_t Below(Random& random, std::size_t end) {
  return static_cast<std::size_t>(random.Between(0, static_cast<int>(end) - 1));
}

void PutBigEndian(Bytes& bytes, std::size_t at, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
}

std::uint32_t BigEndian(const Bytes& bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number = number << 8 | bytes[at + i];
  return number;
}

// The sum of ISO 3309, by which a PNG's chunks are checked.
std::uint32_t Sum(const Bytes& bytes, std::size_t from, std::size_t to) {
  std::uint32_t sum = ~0u;
  for (std::size_t i = from; i < to; ++i) {
    sum ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0u);
  }
  return ~sum;
}

// Makes the damage of a PNG pass its sums, so that it gets further.
void MendSums(Bytes& bytes) {
  constexpr std::size_t signature = 8, around = 12;
  if (bytes.size() < signature || bytes[1] != 'P') return;
  for (std::size_t at = signature; at + around <= bytes.size();) {
    const std::size_t length = BigEndian(bytes, at);
    if (length > bytes.size() - at - around) return;
    PutBigEndian(bytes, at + 8 + length, Sum(bytes, at + 4, at + 8 + length));
    at += around + length;
  }
}

void Change(Random& random, Bytes& bytes, const Bytes& other) {
  const std::size_t at =
      Below(random, random.OneIn(2) ? std::min<std::size_t>(bytes.size(), 64) : bytes.size());
  const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  const auto piece =
      static_cast<std::ptrdiff_t>(Below(random, std::min<std::size_t>(bytes.size() - at, 200)) + 1);
  switch (random.Between(0, 6)) {
    case 0:
      *place ^= static_cast<std::uint8_t>(1 << random.Between(0, 7));
      break;
    case 1:
      *place = static_cast<std::uint8_t>(random.Between(0, 255));
      break;
    case 2: {  // a size or a length
      const std::uint32_t sizes[] = {0, 1, 3, 0x100, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
      if (bytes.size() - at >= 4) PutBigEndian(bytes, at, sizes[random.Between(0, 6)]);
      break;
    }
    case 3:
      bytes.erase(place, place + piece);
      break;
    case 4: {
      const Bytes repeated(place, place + piece);
      bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(Below(random, bytes.size())), repeated.begin(),
                   repeated.end());
      break;
    }
    case 5: {
      const auto from = static_cast<std::ptrdiff_t>(Below(random, other.size()));
      bytes.insert(place, other.begin() + from, other.end());
      break;
    }
    default:
      bytes.resize(at);
  }
}

}  // namespace

std::uint32_t Seeds(std::uint32_t usual) {
  const char* const wanted = std::getenv("QUILLMARK_SEEDS");
  return wanted == nullptr ? usual : static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10));
}

bool IsOneLine(const std::string& text) {
  const std::wstring units = FromUtf8(text);
  return text.size() <= 500 &&
         std::ranges::none_of(units, [](wchar_t u) { return u < 0x20 || u == 0x7F || u == 0xFFFD; });
}

std::string DamagedJson(Random& random, std::string text) {
  const std::string tokens[] = {"[",    "]",    "{",    "}",       ",",       ":",
                                "\"",   "\x1B", "\xFF", "-1",      "1e999",   "99999999999999999999",
                                "null", "true", "0.5",  "\\u0000", "\\uD800", "\"t\":1,"};
  for (int changes = random.Between(1, 3); changes > 0; --changes) {
    const std::size_t at = Below(random, text.size());
    switch (random.Between(0, 5)) {
      case 0:
        text[at] = static_cast<char>(random.Between(0, 255));
        break;
      case 1:
        text.erase(at, static_cast<std::size_t>(random.Between(1, 20)));
        break;
      case 2:
        text.insert(at, tokens[Below(random, std::size(tokens))]);
        break;
      case 3: {  // a part of it again, somewhere else
        const std::string part = text.substr(at, static_cast<std::size_t>(random.Between(1, 60)));
        text.insert(Below(random, text.size()), part);
        break;
      }
      case 4:
        if (random.OneIn(4)) text.resize(at);
        break;
      default:
        text.replace(at, 1, std::to_string(random.Between(-1000, 100'000'000)));
    }
    if (text.empty()) text = " ";
  }
  return text;
}

PictureFiles::PictureFiles(const cv::Mat& bgr) {
  cv::Mat grey, alpha, deep, real;
  cv::cvtColor(bgr, grey, cv::COLOR_BGR2GRAY);
  cv::cvtColor(bgr, alpha, cv::COLOR_BGR2BGRA);
  bgr.convertTo(deep, CV_16U, 257.0);
  bgr.convertTo(real, CV_32F, 1.0 / 255.0);
  const struct {
    const char* extension;
    const cv::Mat& picture;
    std::vector<int> options{};
  } kinds[] = {{".png", bgr},   {".png", grey, {cv::IMWRITE_PNG_BILEVEL, 1}},
               {".png", alpha}, {".png", deep},
               {".jpg", bgr},   {".jpg", grey, {cv::IMWRITE_JPEG_PROGRESSIVE, 1}},
               {".bmp", bgr},   {".bmp", grey},
               {".tiff", bgr},  {".tiff", real},
               {".webp", bgr},  {".webp", alpha, {cv::IMWRITE_WEBP_QUALITY, 101}},
               {".pgm", grey},  {".ppm", bgr, {cv::IMWRITE_PXM_BINARY, 0}},
               {".pam", bgr},   {".hdr", real},
               {".ras", bgr},   {".jp2", bgr}};
  for (const auto& [extension, picture, options] : kinds) {
    if (!cv::haveImageWriter(extension)) continue;
    // Smaller ones the encoder refuses.
    if (extension == ".jp2"sv && std::min(bgr.cols, bgr.rows) < 32) continue;
    cv::imencode(extension, picture, files.emplace_back(), options);
  }
  // No PFM: of a damaged one the library leaves a copy among the temporary files.
  // Two that it does not write, and may not read.
  for (const std::string_view header :
       {"GIF89a\x20\0\x18\0\x80\0\0\0\0\0\xFF\xFF\xFF,\0\0\0\0\x20\0\x18\0\0\x02\x02\x44\x01\0;"sv,
        "\x76\x2F\x31\x01\x02\0\0\0dataWindow\0box2i\0\x10\0\0\0\0\0\0\0\0\0\0\0\x1F\0\0\0\x17\0\0\0\0"sv}) {
    files.emplace_back(header.begin(), header.end());
  }
}

Bytes PictureFiles::Damaged(Random& random) const {
  for (;;) {
    Bytes bytes = files[Below(random, files.size())];
    for (int changes = random.Between(1, 4); changes > 0 && !bytes.empty(); --changes) {
      Change(random, bytes, files[Below(random, files.size())]);
    }
    if (random.OneIn(2)) MendSums(bytes);
    const auto size = ReadImageSize(bytes);
    if (!size || size->height <= kSlowPixels / size->width || size->height > kMaxImagePixels / size->width) {
      return bytes;
    }
  }
}

}  // namespace quillmark::testing
