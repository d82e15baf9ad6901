#include "WindowEnergies.h"

namespace quillmark {
namespace {

std::uint32_t Squared(unsigned char level) {
  return static_cast<std::uint32_t>(level) * level;
}

}  // namespace

void WindowEnergies::Start(const cv::Mat& pixels, cv::Size window) {
  pixels_ = pixels;
  window_ = window;
  row_ = 0;
  columns_.assign(static_cast<std::size_t>(pixels.cols) * pixels.channels(), 0);
  std::uint32_t* const columns = columns_.data();
  const std::size_t elements = columns_.size();
  for (int y = 0; y < window.height; ++y) {
    const unsigned char* const row = pixels.ptr(y);
    for (std::size_t i = 0; i < elements; ++i) columns[i] += Squared(row[i]);
  }
}

void WindowEnergies::NextRow(double* energies) {
  std::uint32_t* const columns = columns_.data();
  if (row_ > 0) {
    const unsigned char* const left = pixels_.ptr(row_ - 1);
    const unsigned char* const entered = pixels_.ptr(row_ - 1 + window_.height);
    const std::size_t elements = columns_.size();
    for (std::size_t i = 0; i < elements; ++i) columns[i] += Squared(entered[i]) - Squared(left[i]);
  }
  ++row_;
  const int channels = pixels_.channels();
  const std::uint32_t* const entering = columns + static_cast<std::size_t>(window_.width) * channels;
  const int last = pixels_.cols - window_.width;
  std::int64_t sum = 0;
  for (const std::uint32_t* i = columns; i != entering; ++i) sum += *i;
  energies[0] = static_cast<double>(sum);
  if (channels == 1) {
    for (int x = 0; x < last; ++x) {
      sum += static_cast<std::int64_t>(entering[x]) - columns[x];
      energies[x + 1] = static_cast<double>(sum);
    }
    return;
  }
  for (int x = 0; x < last; ++x) {
    for (int c = x * channels; c < (x + 1) * channels; ++c) {
      sum += static_cast<std::int64_t>(entering[c]) - columns[c];
    }
    energies[x + 1] = static_cast<double>(sum);
  }
}

}  // namespace quillmark
