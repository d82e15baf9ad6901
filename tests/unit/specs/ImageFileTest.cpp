#include "specs/ImageFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

#include "TemplateFolder.h"

namespace quillmark {
namespace {

using test::Encoded;
using test::FileBytes;
using test::TemplateFolder;

cv::Mat Picture(int type = CV_8UC3) {
  cv::Mat image(19, 31, type);
  cv::RNG(5).fill(image, cv::RNG::UNIFORM, 0, 256);
  return image;
}

bool SamePixels(const cv::Mat& a, const cv::Mat& b) {
  return a.type() == b.type() && a.size() == b.size() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

// A PNG header that announces a picture of this size, with nothing behind it.
FileBytes PngOf(std::uint32_t width, std::uint32_t height) {
  FileBytes file = Encoded(Picture());
  for (int i = 0; i < 4; ++i) {
    file[16 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
    file[20 + i] = static_cast<std::uint8_t>(height >> (24 - 8 * i));
  }
  return file;
}

TEST(ImageFile, KeepsChannelsAndDepth) {
  const TemplateFolder folder;
  for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC1, CV_16UC3}) {
    const cv::Mat image = Picture(type);
    EXPECT_TRUE(SamePixels(ReadImageFile(folder.WriteImage("a.png", image)), image)) << type;
  }
}

TEST(ImageFile, ReadsPathsOfAnyScript) {
  const TemplateFolder folder;
  const cv::Mat image = Picture();
  for (const char* name :
       {"\xED\x95\x9C\xEA\xB8\x80.png", "gr\xC3\xBC\xC3\x9F e.png", "\xF0\x9F\x98\x80.png"}) {
    EXPECT_TRUE(SamePixels(ReadImageFile(folder.WriteImage(name, image)), image)) << name;
  }
}

TEST(ImageFile, IsEmptyForWhatIsNoPictureAndSaysWhy) {
  const TemplateFolder folder;
  const FileBytes png = Encoded(Picture());
  folder.Write("empty.png", {});
  folder.Write("garbage.png", FileBytes(1000, 0x5A));
  folder.Write("header only.png", FileBytes(png.begin(), png.begin() + 33));
  folder.Write("cut.png", FileBytes(png.begin(), png.begin() + static_cast<std::ptrdiff_t>(png.size() / 2)));
  FileBytes damaged = png;
  std::fill(damaged.begin() + 40, damaged.end() - 20, std::uint8_t{0xEE});
  folder.Write("damaged.png", damaged);
  folder.Write("no width.png", PngOf(0, 19));
  folder.Write("bomb.png", PngOf(60000, 60000));
  folder.Write("wide.png", PngOf(4000000, 1));  // within our limit, beyond the decoder's
  std::filesystem::create_directory(folder.Native("folder.png"));

  for (const auto& [name, expected] : {std::pair{"missing.png", ImageFault::NotOpened},
                                       {"empty.png", ImageFault::Empty},
                                       {"garbage.png", ImageFault::UnknownFormat},
                                       {"header only.png", ImageFault::Damaged},
                                       {"cut.png", ImageFault::Damaged},
                                       {"damaged.png", ImageFault::Damaged},
                                       {"no width.png", ImageFault::UnknownFormat},
                                       {"bomb.png", ImageFault::TooManyPixels},
                                       {"wide.png", ImageFault::Damaged},
                                       {"folder.png", ImageFault::NotOpened}}) {
    ImageFault fault = ImageFault::None;
    EXPECT_TRUE(ReadImageFile(folder.Path(name), &fault).empty()) << name;
    EXPECT_EQ(fault, expected) << name;
  }
  for (const wchar_t* path : {L"", L"NUL", L"/dev/zero", L"/dev/null", L"/proc/self/mem", L"/proc/version"}) {
    EXPECT_TRUE(ReadImageFile(path).empty()) << testing::PrintToString(std::wstring(path));
  }
}

TEST(ImageFile, TakesFilesUpToTheLimitOnly) {
  const TemplateFolder folder;
  const std::wstring path = folder.WriteImage("a.bmp", Picture());
  std::filesystem::resize_file(folder.Native("a.bmp"), kMaxImageFileBytes);  // zeros behind the picture
  EXPECT_FALSE(ReadImageFile(path).empty());
  std::filesystem::resize_file(folder.Native("a.bmp"), kMaxImageFileBytes + 1);
  EXPECT_TRUE(ReadImageFile(path).empty());
}

TEST(ImageFile, TakesPicturesUpToTheLimitOnly) {
  const TemplateFolder folder;
  const FileBytes largest = Encoded(cv::Mat(8192, 8192, CV_8UC1, cv::Scalar(7)));
  EXPECT_EQ(ReadImageFile(folder.Write("largest.png", largest)).size(), cv::Size(8192, 8192));
  const FileBytes larger = Encoded(cv::Mat(8193, 8192, CV_8UC1, cv::Scalar(7)));
  EXPECT_TRUE(ReadImageFile(folder.Write("larger.png", larger)).empty());
}

TEST(ImageFile, PassesOnWhatTheImageLibraryRaises) {
  const TemplateFolder folder;
  const std::string_view wide = "P5 4000000 1 255\n";  // within our limit, beyond the library's for one side
  EXPECT_THROW((void)ReadImageFile(folder.Write("wide.pgm", {wide.begin(), wide.end()})), cv::Exception);
}

}  // namespace
}  // namespace quillmark
