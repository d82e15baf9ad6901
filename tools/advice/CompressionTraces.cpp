#include "advice/CompressionTraces.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <unordered_map>

namespace quillmark::advice {
namespace {

constexpr int kSquare = 8, kPlaces = kSquare * kSquare;

// Above these, pictures are taken for compressed. Crops of lossless screenshots and of photographs that were
// scaled down stay below both; see the tests for pictures on either side.
constexpr double kGridLimit = 0.18, kSpeckleLimit = 0.1;

// Less of the picture in one colour is no ground.
constexpr double kLeastGround = 0.3;

// Squares with less contrast than this, in levels, are as good as plain and fit everywhere.
constexpr double kPlainContrast = 2.0;
// Frequencies below this, in levels, are what rounding leaves of 0.
constexpr double kRounding = 1.0;
// Fewer squares are no evidence.
constexpr int kLeastSquares = 2;

// The share of 0 among the frequencies of the grid's squares, its corner at `corner`; -1 with too few.
double ShareOfZeros(const cv::Mat& levels, cv::Point corner) {
  cv::Mat frequencies;
  int squares = 0, zeros = 0;
  for (int y = corner.y; y + kSquare <= levels.rows; y += kSquare) {
    for (int x = corner.x; x + kSquare <= levels.cols; x += kSquare) {
      cv::dct(levels(cv::Rect(x, y, kSquare, kSquare)).clone(), frequencies);
      frequencies.at<float>(0, 0) = 0.0f;  // the mean
      if (cv::norm(frequencies) < kPlainContrast * kSquare) continue;
      zeros += cv::countNonZero(cv::abs(frequencies) < kRounding) - 1;
      ++squares;
    }
  }
  return squares < kLeastSquares ? -1.0 : static_cast<double>(zeros) / ((kPlaces - 1) * squares);
}

std::uint32_t Packed(const cv::Vec3b& colour) {
  return static_cast<std::uint32_t>(colour[0] | colour[1] << 8 | colour[2] << 16);
}

cv::Vec3b Unpacked(std::uint32_t colour) {
  return {static_cast<std::uint8_t>(colour), static_cast<std::uint8_t>(colour >> 8),
          static_cast<std::uint8_t>(colour >> 16)};
}

bool Close(const cv::Vec3b& a, const cv::Vec3b& b) {
  constexpr int kLevels = 12;
  return std::abs(a[0] - b[0]) <= kLevels && std::abs(a[1] - b[1]) <= kLevels &&
         std::abs(a[2] - b[2]) <= kLevels;
}

}  // namespace

double GridFit(const cv::Mat& gray) {
  cv::Mat levels;
  gray.convertTo(levels, CV_32F);
  double best = 0.0, second = 0.0;
  for (int place = 0; place < kPlaces; ++place) {
    const double share = ShareOfZeros(levels, {place % kSquare, place / kSquare});
    if (share < 0.0) return 0.0;
    second = std::max(second, std::min(share, best));
    best = std::max(best, share);
  }
  return best - second;
}

double Speckle(const cv::Mat& bgr) {
  std::unordered_map<std::uint32_t, int> counts;
  for (auto pixel = bgr.begin<cv::Vec3b>(); pixel != bgr.end<cv::Vec3b>(); ++pixel) ++counts[Packed(*pixel)];
  const auto most = std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; });
  if (most == counts.end() || most->second < kLeastGround * static_cast<double>(bgr.total())) return 0.0;
  const cv::Vec3b ground = Unpacked(most->first);
  int speckles = 0;
  for (int y = 1; y < bgr.rows; ++y) {
    for (int x = 1; x < bgr.cols; ++x) {
      const cv::Vec3b& colour = bgr.at<cv::Vec3b>(y, x);
      if (colour != ground && Close(colour, ground) && colour != bgr.at<cv::Vec3b>(y, x - 1) &&
          colour != bgr.at<cv::Vec3b>(y - 1, x)) {
        ++speckles;
      }
    }
  }
  return static_cast<double>(speckles) / most->second;
}

bool HasCompressionTraces(const cv::Mat& bgr) {
  // A part of a large picture tells enough.
  constexpr int kEnough = 256;
  const cv::Mat part = bgr(cv::Rect(0, 0, std::min(bgr.cols, kEnough), std::min(bgr.rows, kEnough)));
  cv::Mat gray;
  cv::cvtColor(part, gray, cv::COLOR_BGR2GRAY);
  return GridFit(gray) > kGridLimit || Speckle(part) > kSpeckleLimit;
}

}  // namespace quillmark::advice
