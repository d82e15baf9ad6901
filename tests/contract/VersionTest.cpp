// What the product expects of the version block that its own program carries.
#include <gtest/gtest.h>
#include <windows.h>

// After windows.h, which it builds on.
#include <winver.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

std::vector<std::byte> BlockOfThisProgram() {
  wchar_t path[1024];
  EXPECT_GT(::GetModuleFileNameW(nullptr, path, 1024), 0u);
  std::vector<std::byte> block(::GetFileVersionInfoSizeW(path, nullptr));
  if (block.empty() || !::GetFileVersionInfoW(path, 0, static_cast<DWORD>(block.size()), block.data())) {
    return {};
  }
  return block;
}

class Version : public testing::Test {
 protected:
  // "-" when there is none.
  std::wstring Text(LPCWSTR query) const {
    void* value = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(block.data(), query, &value, &length) || length == 0) return L"-";
    const auto* text = static_cast<const wchar_t*>(value);
    EXPECT_EQ(text[length - 1], L'\0') << "the length counts the terminator";
    return {text, length - 1};
  }
  void SetUp() override { ASSERT_FALSE(block.empty()); }

  const std::vector<std::byte> block = BlockOfThisProgram();
};

TEST_F(Version, TextsLieUnderTheirLanguage) {
  void* value = nullptr;
  UINT length = 0;
  ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &value, &length));
  ASSERT_EQ(length, 4u);
  EXPECT_EQ(static_cast<const WORD*>(value)[0], 0x0409);
  EXPECT_EQ(static_cast<const WORD*>(value)[1], 0x04B0);
  EXPECT_EQ(Text(L"\\StringFileInfo\\040904b0\\ProductVersion"), L"" EXPECTED_VERSION);
  EXPECT_EQ(Text(L"\\stringfileinfo\\040904B0\\productname"), L"Quillmark") << "in any case";
  EXPECT_EQ(Text(L"\\StringFileInfo\\041204b0\\ProductVersion"), L"-") << "another language";
  EXPECT_EQ(Text(L"\\StringFileInfo\\040904b0\\NoSuchText"), L"-");
}

TEST_F(Version, NumbersAreThoseOfTheProject) {
  void* value = nullptr;
  UINT length = 0;
  ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\", &value, &length));
  ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value);
  EXPECT_EQ(info.dwSignature, 0xFEEF04BD);
  const std::string numbers = std::to_string(HIWORD(info.dwFileVersionMS)) + "." +
                              std::to_string(LOWORD(info.dwFileVersionMS)) + "." +
                              std::to_string(HIWORD(info.dwFileVersionLS));
  EXPECT_EQ(numbers, EXPECTED_VERSION);
  EXPECT_EQ(info.dwProductVersionMS, info.dwFileVersionMS);
}

TEST(VersionOfOthers, AMissingFileHasNone) {
  EXPECT_EQ(::GetFileVersionInfoSizeW(L"no such file", nullptr), 0u);
  EXPECT_EQ(::GetLastError(), ERROR_FILE_NOT_FOUND);
}

}  // namespace
