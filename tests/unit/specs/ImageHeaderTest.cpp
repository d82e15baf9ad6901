#include "specs/ImageHeader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillmark {
namespace {

using namespace std::string_view_literals;
using Bytes = std::vector<std::uint8_t>;

constexpr int kWidth = 37, kHeight = 39;

std::string Announced(std::string_view file) {
  const auto size = ReadImageSize({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()});
  return size ? std::to_string(size->width) + "x" + std::to_string(size->height) : "none";
}

struct Sample {
  const char* extension;
  int type = CV_8UC3;
  std::vector<int> options{};
};

// A file of each format that OpenCV can write.
std::vector<std::pair<const char*, Bytes>> WrittenFiles() {
  const Sample samples[] = {
      {".png", CV_8UC4},
      {".jpg"},
      {".jpg", CV_8UC3, {cv::IMWRITE_JPEG_PROGRESSIVE, 1}},
      {".bmp"},
      {".pgm", CV_8UC1, {cv::IMWRITE_PXM_BINARY, 0}},
      {".ppm"},
      {".pam"},
      {".pfm", CV_32FC3},
      {".hdr", CV_32FC3},
      {".ras"},
      {".tiff"},
      {".webp", CV_8UC3, {cv::IMWRITE_WEBP_QUALITY, 60}},   // lossy
      {".webp", CV_8UC4, {cv::IMWRITE_WEBP_QUALITY, 101}},  // lossless
      {".webp", CV_8UC4, {cv::IMWRITE_WEBP_QUALITY, 60}},   // lossy with alpha
      {".jp2"},
  };
  std::vector<std::pair<const char*, Bytes>> files;
  for (const auto& [extension, type, options] : samples) {
    if (!cv::haveImageWriter(extension)) continue;
    cv::Mat image(kHeight, kWidth, CV_8UC(CV_MAT_CN(type)));
    cv::RNG(11).fill(image, cv::RNG::UNIFORM, 0, 256);
    image.convertTo(image, CV_MAT_DEPTH(type));
    EXPECT_TRUE(cv::imencode(extension, image, files.emplace_back(extension, Bytes()).second, options))
        << extension;
  }
  EXPECT_GE(files.size(), 10u);
  return files;
}

TEST(ImageHeader, GivesTheSizeOfWrittenFilesAndNoLargerOneWhenTheyAreCut) {
  for (const auto& [name, file] : WrittenFiles()) {
    for (std::size_t cut = 0; cut <= file.size(); ++cut) {
      const auto size = ReadImageSize(std::span(file).first(file.size() - cut));
      ASSERT_TRUE(size || cut > 0) << name;
      if (!size) continue;
      ASSERT_TRUE(size->width <= kWidth && size->height <= kHeight) << name << " cut by " << cut;
      ASSERT_TRUE(cut > 0 || size->width * size->height == kWidth * kHeight) << name;
    }
  }
}

TEST(ImageHeader, GivesTheSizeOfHandMadeHeaders) {
  const struct {
    const char* name;
    std::string_view file;
    const char* size;
  } cases[] = {
      {"gif", "GIF89a\x25\0\x27\0"sv, "37x39"},
      {"bmp, old header", "BM\0\0\0\0\0\0\0\0\0\0\0\0\x0C\0\0\0\x25\0\x27\0"sv, "37x39"},
      {"bmp, rows from the top", "BM\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\x25\0\0\0\xD9\xFF\xFF\xFF"sv, "37x39"},
      {"bmp, lowest height", "BM\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\x25\0\0\0\0\0\0\x80"sv, "37x2147483648"},
      {"bmp, negative width", "BM\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\xD9\xFF\xFF\xFF\x27\0\0\0"sv, "none"},
      {"tiff, big-endian words",
       "MM\0\x2A\0\0\0\x08\0\x02\x01\0\0\x03\0\0\0\x01\0\x25\0\0\x01\x01\0\x04\0\0\0\x01\0\0\0\x27"sv,
       "37x39"},
      {"tiff, width given twice",
       "MM\0\x2A\0\0\0\x08\0\x03\x01\0\0\x03\0\0\0\x01\0\x25\0\0\x01\0\0\x03\0\0\0\x01\0\x01\0\0"
       "\x01\x01\0\x04\0\0\0\x01\0\0\0\x27"sv,
       "37x39"},
      {"tiff, width of an odd type",
       "MM\0\x2A\0\0\0\x08\0\x02\x01\0\0\x09\0\0\0\x01\0\0\0\x25\x01\x01\0\x04\0\0\0\x01\0\0\0\x27"sv,
       "none"},
      {"tiff, 64-bit offsets",
       "II\x2B\0\x08\0\0\0\x10\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0"
       "\0\x01\x04\0\x01\0\0\0\0\0\0\0\x25\0\0\0\0\0\0\0"
       "\x01\x01\x10\0\x01\0\0\0\0\0\0\0\x27\0\0\0\0\0\0\0"sv,
       "37x39"},
      {"tiff, directory beyond the end", "II\x2A\0\xFF\xFF\xFF\xFF\x01\0"sv, "none"},
      {"jpeg, fill bytes and a thumbnail in a segment",
       "\xFF\xD8\xFF\xE1\0\x0B\xFF\xC0\0\x11\x08\0\x01\0\x01\xFF\xFF\xC2\0\x11\x08\0\x27\0\x25"sv, "37x39"},
      {"jpeg without a frame", "\xFF\xD8\xFF\xDA\0\x02\xFF\xC0\0\x11\x08\0\x27\0\x25"sv, "none"},
      {"jpeg, segment of no length", "\xFF\xD8\xFF\xE0\0\0\xFF\xC0\0\x11\x08\0\x27\0\x25"sv, "none"},
      {"webp canvas", "RIFF\0\0\0\0WEBPVP8X\x0A\0\0\0\0\0\0\0\x24\0\0\x26\0\0"sv, "37x39"},
      {"pbm with comments", "P4\n# 99 99\n37#x\n39\n"sv, "37x39"},
      {"ppm, absurd number", "P6 99999999999999999999999 39 255\n"sv, "4294967296x39"},
      {"pgm, no blank after the signature", "P537 39 255\n"sv, "none"},
      {"pfm", "Pf\n37 39\n-1\n"sv, "37x39"},
      {"pfm, width behind two blanks", "Pf\n 37 39\n-1\n"sv, "none"},
      {"pfm, height behind a comment", "PF\n37 #c\n39\n-1\n"sv, "none"},
      {"pam, sizes repeated", "P7\nWIDTH 37\n# c\nHEIGHT 39\nWIDTH 3\nENDHDR\nHEIGHT 99\n"sv, "37x39"},
      {"radiance, resolution hidden in a long line", "#?RGBE\nX=-Y 39 +X 37\n\n-Y 1 +X 1\n"sv, "37x39"},
      {"jpeg 2000 stream", "\xFF\x4F\xFF\x51\0\x2F\0\0\0\0\0\x25\0\0\0\x27\0\0\0\0\0\0\0\0"sv, "37x39"},
      {"exr",
       "\x76\x2F\x31\x01\x02\0\0\0a\0int\0\x04\0\0\0\x01\x02\x03\x04"
       "dataWindow\0box2i\0\x10\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0\x23\0\0\0\x26\0\0\0\0"sv,
       "37x39"},
      {"exr, window turned round",
       "\x76\x2F\x31\x01\x02\0\0\0dataWindow\0box2i\0\x10\0\0\0\x05\0\0\0\0\0\0\0\x01\0\0\0\x26\0\0\0\0"sv,
       "none"},
      {"png of no width", "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\0\0\0\0\x27"sv, "none"},
      {"unknown", "hello, world"sv, "none"},
      {"nothing", "", "none"},
  };
  for (const auto& c : cases) EXPECT_EQ(Announced(c.file), c.size) << c.name;
}

// The sanitizers watch for reads beyond the file's end.
TEST(ImageHeader, GivesAtLeastTheSizeThatADamagedFileDecodesTo) {
  cv::RNG random(20240607);
  int decoded = 0;
  for (const auto& [name, file] : WrittenFiles()) {
    for (int round = 0; round < 150; ++round) {
      Bytes damaged = file;
      const int header = std::min<int>(static_cast<int>(damaged.size()), 120);
      for (int change = random.uniform(1, 5); change > 0; --change) {
        damaged[random.uniform(0, header)] = static_cast<std::uint8_t>(random.uniform(0, 256));
      }
      if (round % 3 == 0) damaged.resize(random.uniform(0, static_cast<int>(damaged.size())));
      const auto size = ReadImageSize(damaged);
      if (!size || size->width > 4096 || size->height > 4096) continue;  // not decoded, or too slow to
      cv::Mat image;
      try {
        image = cv::imdecode(damaged, cv::IMREAD_UNCHANGED);
      } catch (const cv::Exception&) {
      }
      if (image.empty()) continue;
      ++decoded;
      EXPECT_LE(image.cols, static_cast<int>(size->width)) << name << " " << round;
      EXPECT_LE(image.rows, static_cast<int>(size->height)) << name << " " << round;
    }
  }
  EXPECT_GT(decoded, 200);
}

}  // namespace
}  // namespace quillmark
