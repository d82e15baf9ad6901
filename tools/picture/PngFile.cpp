#include "picture/PngFile.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <new>
#include <stdexcept>

namespace quillmark {
namespace {

void Append(png_structp png, png_bytep data, png_size_t size) {
  bool stored = true;
  try {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<const char*>(data), size);
  } catch (const std::bad_alloc&) {
    stored = false;
  }
  if (!stored) png_error(png, "out of memory");
}

void Flush(png_structp) {}

// The library jumps out on errors, so nothing here may need a destructor.
bool Write(png_structp png, png_infop info, const cv::Mat& picture, int level, png_textp texts, int count,
           std::string& bytes) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_write_fn(png, &bytes, Append, Flush);
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.cols), static_cast<png_uint_32>(picture.rows), 8,
               picture.channels() == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, level);
  png_set_text(png, info, texts, count);
  png_write_info(png, info);
  png_set_bgr(png);
  for (int row = 0; row < picture.rows; ++row) png_write_row(png, picture.ptr(row));
  png_write_end(png, info);
  return true;
}

}  // namespace

std::string EncodePng(const cv::Mat& picture, int level, const PngTexts& texts) {
  std::vector<png_text> entries;
  for (const auto& [keyword, text] : texts) {
    const bool ascii = std::ranges::all_of(text, [](char byte) { return (byte & 0x80) == 0; });
    png_text entry{};
    entry.compression = ascii ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
    entry.key = const_cast<char*>(keyword.c_str());  // only read
    entry.text = const_cast<char*>(text.c_str());
    entries.push_back(entry);
  }
  std::string bytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  const bool written = info != nullptr && Write(png, info, picture, level, entries.data(),
                                                static_cast<int>(entries.size()), bytes);
  png_destroy_write_struct(&png, &info);
  if (!written) throw std::runtime_error("the picture cannot be encoded as PNG");
  return bytes;
}

}  // namespace quillmark
