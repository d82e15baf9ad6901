#include <array>
#include <filesystem>
#include <fstream>
#include <opencv2/imgproc.hpp>
#include <string>
#include <string_view>

#include "advice/Checks.h"
#include "advice/CompressionTraces.h"
#include "specs/ImageFile.h"
#include "specs/Utf8.h"
#include "text/Numbers.h"

namespace quillmark::advice {
namespace {

// The first bytes of the file; fewer, or none, when it has no more.
std::string HeadOf(const std::wstring& path) {
  const std::string utf8 = ToUtf8(path);
  std::ifstream file(std::filesystem::path(std::u8string(utf8.begin(), utf8.end())), std::ios::binary);
  std::string head(4096, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(file.gcount()));
  return head;
}

// Walks the chunks of a WebP file up to its picture.
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
  list.Add(FindingCode::AlphaUnused, Digits(100.0 * share) + " % of the pixels are transparent, or partly so",
           {{"share", share}});
}

}  // namespace

void CheckFile(const Subject& subject, FindingList& list) {
  if (const char* format = LossyFormat(HeadOf(subject.spec.path))) {
    list.Add(FindingCode::LossyFile, std::string("the file is ") + format, {{"format", format}});
  } else if (HasCompressionTraces(subject.spec.tmplBgr)) {
    list.Add(FindingCode::CompressionTraces, "the pixels lie as a JPEG leaves them");
  }
  CheckAlpha(ReadImageFile(subject.spec.path), list);
}

}  // namespace quillmark::advice
