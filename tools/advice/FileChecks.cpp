#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <opencv2/imgproc.hpp>
#include <string>
#include <string_view>
#include <unordered_map>

#include "advice/Checks.h"
#include "specs/ImageFile.h"
#include "specs/Utf8.h"
#include "text/Numbers.h"
#include "text/Printable.h"

namespace quillmark::advice {
namespace {

// Traces that a lossy compression has left in an image, whatever its file format now.
//
// JPEG divides an image into squares of 8 x 8 pixels and sets most of their frequencies to 0. So in an image
// that was a JPEG, one of the 64 possible grid positions has far more zeros than the others. Sharp text on a
// plain background hides this, since levels are clipped at black and white. But there the background, which a
// screen paints in one exact colour, is speckled with similar colours.

constexpr int kSquare = 8, kPlaces = kSquare * kSquare;

// Images above either limit count as compressed. Lossless screenshots and scaled-down photographs stay below;
// the tests have images on both sides.
constexpr double kGridLimit = 0.18, kSpeckleLimit = 0.1;

// The minimum share of one colour that makes it the background.
constexpr double kMinBackground = 0.3;

// Squares with less contrast, in levels, are plain and fit any grid.
constexpr double kPlainContrast = 2.0;
// Frequencies below this, in levels, are rounding errors of 0.
constexpr double kRounding = 1.0;
// Fewer squares prove nothing.
constexpr int kMinSquares = 2;

// The share of zeros among the frequencies of the squares of a grid at `corner`; -1 with too few squares.
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
  return squares < kMinSquares ? -1.0 : static_cast<double>(zeros) / ((kPlaces - 1) * squares);
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

// How many more frequencies are 0 at the grid's best position than at the second best, 0 to 1; 0 without
// enough squares. `gray` is 8UC1.
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

// The number of speckles per background pixel; 0 without a background, the most frequent colour. A speckle
// has a similar colour and differs from the pixels to its left and above it. `bgr` is 8UC3.
double Speckle(const cv::Mat& bgr) {
  std::unordered_map<std::uint32_t, int> counts;
  for (auto pixel = bgr.begin<cv::Vec3b>(); pixel != bgr.end<cv::Vec3b>(); ++pixel) ++counts[Packed(*pixel)];
  const auto most = std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; });
  if (most == counts.end() || most->second < kMinBackground * static_cast<double>(bgr.total())) return 0.0;
  const cv::Vec3b background = Unpacked(most->first);
  int speckles = 0;
  for (int y = 1; y < bgr.rows; ++y) {
    for (int x = 1; x < bgr.cols; ++x) {
      const cv::Vec3b& colour = bgr.at<cv::Vec3b>(y, x);
      if (colour != background && Close(colour, background) && colour != bgr.at<cv::Vec3b>(y, x - 1) &&
          colour != bgr.at<cv::Vec3b>(y - 1, x)) {
        ++speckles;
      }
    }
  }
  return static_cast<double>(speckles) / most->second;
}

bool HasCompressionTraces(const cv::Mat& bgr) {
  // A part of a large image is enough.
  constexpr int kEnough = 256;
  const cv::Mat part = bgr(cv::Rect(0, 0, std::min(bgr.cols, kEnough), std::min(bgr.rows, kEnough)));
  cv::Mat gray;
  cv::cvtColor(part, gray, cv::COLOR_BGR2GRAY);
  return GridFit(gray) > kGridLimit || Speckle(part) > kSpeckleLimit;
}

// The first bytes of the file.
std::string HeadOf(const std::wstring& path) {
  std::ifstream file(PathOf(ToUtf8(path)), std::ios::binary);
  std::string head(4096, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(file.gcount()));
  return head;
}

// Walks the chunks of a WebP file up to its image.
bool IsLossyWebP(std::string_view head) {
  if (head.size() < 12 || !head.starts_with("RIFF") || head.substr(8, 4) != "WEBP") return false;
  for (std::size_t at = 12; at + 8 <= head.size();) {
    const std::string_view chunk = head.substr(at, 4);
    if (chunk == "VP8 ") return true;
    if (chunk == "VP8L") return false;
    std::size_t length = 0;
    for (std::size_t i = 0; i < 4; ++i)
      length |= std::size_t{static_cast<unsigned char>(head[at + 4 + i])} << 8 * i;
    at += 8 + length + length % 2;
  }
  return false;
}

const char* LossyFormat(std::string_view head) {
  if (head.starts_with("\xFF\xD8\xFF")) return "JPEG";
  return IsLossyWebP(head) ? "lossy WebP" : nullptr;
}

void CheckAlpha(const cv::Mat& image, FindingList& list) {
  if (image.channels() != 4) return;
  cv::Mat alpha;
  cv::extractChannel(image, alpha, 3);
  const auto pixels = static_cast<double>(alpha.total());
  const double share = cv::countNonZero(alpha < 255) / pixels;
  if (share == 0.0) return;
  list.Add(FindingCode::AlphaUnused,
           Digits(100.0 * share) + " % of the pixels are fully or partly transparent", {{"share", share}});
}

}  // namespace

void CheckFile(const Subject& subject, FindingList& list) {
  if (const char* format = LossyFormat(HeadOf(subject.spec.path))) {
    list.Add(FindingCode::LossyFile, std::string("the file is ") + format, {{"format", format}});
  } else if (HasCompressionTraces(subject.spec.tmplBgr)) {
    list.Add(FindingCode::CompressionTraces, "the pixels look like those of a JPEG");
  }
  CheckAlpha(ReadImageFile(subject.spec.path), list);
}

}  // namespace quillmark::advice
