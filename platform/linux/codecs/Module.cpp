// The codec module of Linux programs: the decoder's entry. Some codecs print to stdio's stderr, which is made
// to follow std::cerr here, as the decoder filters that.
//
// Threading: any thread. Nothing else in a program may use stdio's stderr while its first image is decoded.
#include <sys/types.h>

#include <cstdio>
#include <iostream>

#include "specs/ImageDecoder.h"

namespace {

ssize_t ToStandardError(void*, const char* text, std::size_t size) {
  return static_cast<ssize_t>(std::cerr.rdbuf()->sputn(text, static_cast<std::streamsize>(size)));
}

[[maybe_unused]] const bool redirected = [] {
  cookie_io_functions_t calls{};
  calls.write = ToStandardError;
  std::FILE* const stream = ::fopencookie(nullptr, "w", calls);  // std::cerr keeps the old one
  if (stream == nullptr) return false;
  std::setvbuf(stream, nullptr, _IONBF, 0);
  stderr = stream;
  return true;
}();

}  // namespace

extern "C" void QuillmarkDecodeImage(const std::vector<std::uint8_t>& bytes, cv::Mat& picture) {
  picture = quillmark::DecodeImage(bytes);
}
