#include "specs/ImageFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "TemplateFolder.h"

namespace quillmark {
namespace {

using test::Encoded;
using test::FileBytes;
using test::SameImage;
using test::TemplateFolder;

cv::Mat Picture(int type = CV_8UC3) {
  cv::Mat image(19, 31, type);
  cv::RNG(5).fill(image, cv::RNG::UNIFORM, 0, 256);
  return image;
}

// A PNG file that announces this size.
FileBytes PngOf(std::uint32_t width, std::uint32_t height) {
  FileBytes file = Encoded(Picture());
  for (int i = 0; i < 4; ++i) {
    file[16 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
    file[20 + i] = static_cast<std::uint8_t>(height >> (24 - 8 * i));
  }
  return file;
}

TEST(ImageFile, KeepsChannelsAndDepthWhateverThePathsScript) {
  const TemplateFolder folder;
  const struct {
    int type;
    const char* name;
  } cases[] = {{CV_8UC1, "a.png"},
               {CV_8UC3, "\xED\x95\x9C\xEA\xB8\x80.png"},
               {CV_8UC4, "gr\xC3\xBC\xC3\x9F e.png"},
               {CV_16UC1, "\xF0\x9F\x98\x80.png"},
               {CV_16UC3, "b.png"}};
  for (const auto& c : cases) {
    const cv::Mat image = Picture(c.type);
    EXPECT_TRUE(SameImage(ReadImageFile(folder.WriteImage(c.name, image)), image)) << c.name;
  }
}

TEST(ImageFile, NamesTheFaultOfAnUnusableFile) {
  const TemplateFolder folder;
  const FileBytes png = Encoded(Picture());
  FileBytes damaged = png;
  std::fill(damaged.begin() + 40, damaged.end() - 20, std::uint8_t{0xEE});
  const struct {
    const char* name;
    FileBytes bytes;
    ImageFault expected;
  } files[] = {
      {"empty", {}, ImageFault::Empty},
      {"garbage", FileBytes(1000, 0x5A), ImageFault::UnknownFormat},
      {"header only", FileBytes(png.begin(), png.begin() + 33), ImageFault::Damaged},
      {"cut", FileBytes(png.begin(), png.end() - 100), ImageFault::Damaged},
      {"damaged", damaged, ImageFault::Damaged},
      {"no width", PngOf(0, 19), ImageFault::UnknownFormat},
      {"bomb", PngOf(60000, 60000), ImageFault::TooManyPixels},
      {"wide", PngOf(4000000, 1), ImageFault::Damaged},  // within our limit, beyond the decoder's
  };
  ImageFault fault = ImageFault::None;
  for (const auto& file : files) {
    EXPECT_TRUE(ReadImageFile(folder.Write(file.name, file.bytes), &fault).empty()) << file.name;
    EXPECT_EQ(fault, file.expected) << file.name;
  }
  std::filesystem::create_directory(folder.Native("folder"));
  for (const char* name : {"missing", "folder"}) {
    EXPECT_TRUE(ReadImageFile(folder.Path(name), &fault).empty()) << name;
    EXPECT_EQ(fault, ImageFault::NotOpened) << name;
  }
  for (const wchar_t* path : {L"", L"NUL", L"/dev/zero", L"/dev/null", L"/proc/self/mem", L"/proc/version"}) {
    EXPECT_TRUE(ReadImageFile(path).empty()) << testing::PrintToString(std::wstring(path));
  }
}

TEST(ImageFile, AcceptsFilesAndPicturesUpToTheLimits) {
  const TemplateFolder folder;
  const std::wstring path = folder.WriteImage("a.bmp", Picture());
  std::filesystem::resize_file(folder.Native("a.bmp"), 67108864);  // zeros behind the picture
  EXPECT_FALSE(ReadImageFile(path).empty());
  std::filesystem::resize_file(folder.Native("a.bmp"), 67108865);
  EXPECT_TRUE(ReadImageFile(path).empty());

  EXPECT_FALSE(ReadImageFile(folder.WriteImage("largest.png", cv::Mat::zeros(8192, 8192, CV_8U))).empty());
  EXPECT_TRUE(ReadImageFile(folder.WriteImage("larger.png", cv::Mat::zeros(8193, 8192, CV_8U))).empty());
}

}  // namespace
}  // namespace quillmark
