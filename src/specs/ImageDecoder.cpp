#include "specs/ImageDecoder.h"

#include <iostream>
#include <opencv2/imgcodecs.hpp>
#include <streambuf>

namespace quillmark {
namespace {

thread_local bool decoding = false;

// Stands before std::cerr's buffer and drops what a thread prints while it decodes.
class ErrorFilter : public std::streambuf {
 public:
  explicit ErrorFilter(std::streambuf* standardError) : next(standardError) {}

 protected:
  int_type overflow(int_type c) override {
    if (decoding || traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    return next->sputc(traits_type::to_char_type(c));
  }
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    return decoding ? size : next->sputn(text, size);
  }
  int sync() override { return next->pubsync(); }

 private:
  std::streambuf* const next;
};

struct Quiet {
  Quiet() { decoding = true; }
  ~Quiet() { decoding = false; }
};

}  // namespace

cv::Mat DecodeImage(const std::vector<std::uint8_t>& bytes) {
  // Never destroyed, as std::cerr is not either.
  [[maybe_unused]] static const auto* const before = std::cerr.rdbuf(new ErrorFilter(std::cerr.rdbuf()));
  const Quiet quiet;
  return cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
}

}  // namespace quillmark
