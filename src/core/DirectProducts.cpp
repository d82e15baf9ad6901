#include "core/DirectProducts.h"

#include <algorithm>
#include <opencv2/core/hal/intrin.hpp>

namespace quillmark {
namespace {

constexpr int kLanes = 16;  // placements summed up at a time
// Narrower areas are summed up placement by placement, along the template's rows.
constexpr int kFewPlacements = 5;

int RoundUp(int width) {
  return (width + kLanes - 1) / kLanes * kLanes;
}

}  // namespace

DirectProducts::DirectProducts(const cv::Mat& tmpl)
    : tmpl_(tmpl), channels_(tmpl.channels()), pairsPerRow_((tmpl.cols + 1) / 2) {}

void DirectProducts::LoadTaps() {
  taps_.reserve(static_cast<std::size_t>(tmpl_.rows) * channels_ * pairsPerRow_);
  for (int y = 0; y < tmpl_.rows; ++y) {
    const unsigned char* const row = tmpl_.ptr(y);
    for (int c = 0; c < channels_; ++c) {
      for (int x = 0; x < tmpl_.cols; x += 2) {
        const int next = x + 1 < tmpl_.cols ? row[(x + 1) * channels_ + c] : 0;
        taps_.push_back(row[x * channels_ + c] | next << 16);
      }
    }
  }
}

double DirectProducts::Nanoseconds(cv::Size placements, cv::Size tmpl, int channels) {
  const double rows = static_cast<double>(placements.height) * tmpl.height;
  if (placements.width < kFewPlacements) {
    return placements.width * (25.0 * placements.height + rows * (14.0 + tmpl.width * channels * 0.01));
  }
  const double lanes = RoundUp(placements.width);
  return rows * lanes / kLanes * channels * (1.5 + (tmpl.width + 1) / 2 * 1.1) +
         (placements.height + tmpl.height) * lanes * channels * 0.4;
}

void DirectProducts::Start(const cv::Mat& pixels) {
  pixels_ = pixels;
  width_ = pixels.cols - tmpl_.cols + 1;
  row_ = 0;
  if (width_ < kFewPlacements) return;
  if (taps_.empty()) LoadTaps();
  stride_ = RoundUp(width_) + 2 * pairsPerRow_;
  ring_.resize(static_cast<std::size_t>(tmpl_.rows) * channels_ * stride_);
  for (int y = 0; y + 1 < tmpl_.rows; ++y) LoadRow(y);
}

void DirectProducts::LoadRow(int y) {
  const unsigned char* const row = pixels_.ptr(y);
  for (int c = 0; c < channels_; ++c) {
    std::int32_t* const pairs = &ring_[(static_cast<std::size_t>(y % tmpl_.rows) * channels_ + c) * stride_];
    const unsigned char* const from = row + c;
    const int last = pixels_.cols - 1;
    if (channels_ == 1) {
      for (int x = 0; x < last; ++x) pairs[x] = from[x] | from[x + 1] << 16;
    } else {
      for (int x = 0; x < last; ++x) pairs[x] = from[x * channels_] | from[(x + 1) * channels_] << 16;
    }
    pairs[last] = from[last * channels_];
    std::fill(pairs + last + 1, pairs + stride_, 0);
  }
}

void DirectProducts::NextRow(double* products) {
  if (width_ < kFewPlacements) {
    for (int x = 0; x < width_; ++x) {
      products[x] = pixels_(cv::Rect(cv::Point(x, row_), tmpl_.size())).dot(tmpl_);
    }
  } else {
    LoadRow(row_ + tmpl_.rows - 1);
    std::fill(products, products + RoundUp(width_), 0.0);
    const int rowsAtOnce = std::max(1, kMaxRow / (tmpl_.cols * channels_));
    for (int y = 0; y < tmpl_.rows; y += rowsAtOnce) {
      AddRows(y, std::min(y + rowsAtOnce, tmpl_.rows), products);
    }
  }
  ++row_;
}

void DirectProducts::AddRows(int firstRow, int lastRow, double* products) const {
  for (int x = 0; x < width_; x += kLanes) {
    cv::v_int32x4 sums[kLanes / 4];
    for (auto& sum : sums) sum = cv::v_setzero_s32();
    for (int y = firstRow; y < lastRow; ++y) {
      for (int c = 0; c < channels_; ++c) {
        const std::int32_t* const taps = &taps_[(static_cast<std::size_t>(y) * channels_ + c) * pairsPerRow_];
        const std::int32_t* pairs =
            &ring_[(static_cast<std::size_t>((row_ + y) % tmpl_.rows) * channels_ + c) * stride_] + x;
        for (int i = 0; i < pairsPerRow_; ++i, pairs += 2) {
          const cv::v_int16x8 tap = cv::v_reinterpret_as_s16(cv::v_setall_s32(taps[i]));
          for (int lane = 0; lane < kLanes / 4; ++lane) {
            sums[lane] =
                cv::v_dotprod(cv::v_reinterpret_as_s16(cv::v_load(pairs + lane * 4)), tap, sums[lane]);
          }
        }
      }
    }
    for (int lane = 0; lane < kLanes / 4; ++lane) {
      double* const to = products + x + lane * 4;
      cv::v_store(to, cv::v_load(to) + cv::v_cvt_f64(sums[lane]));
      cv::v_store(to + 2, cv::v_load(to + 2) + cv::v_cvt_f64_high(sums[lane]));
    }
  }
}

}  // namespace quillmark
