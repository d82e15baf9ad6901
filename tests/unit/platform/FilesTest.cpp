#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "host/Text.h"
#include "support/TempFolder.h"

namespace quillmark::layer {
namespace {

class Files : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::current_path(folder.Path()); }
  void TearDown() override { std::filesystem::current_path("/"); }

  static HANDLE OpenToRead(const std::wstring& path) {
    return ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  static HANDLE OpenToAppend(const std::wstring& path) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    const DWORD outcome = ::GetLastError();
    ::SetFilePointer(file, 0, nullptr, FILE_END);
    ::SetLastError(outcome);
    return file;
  }
  static void Write(const std::string& name, std::string_view content) {
    std::ofstream(name, std::ios::binary) << content;
  }
  test::TempFolder folder;
};

TEST_F(Files, AppendingCreatesTheFileThenExtendsIt) {
  for (const DWORD outcome : {ERROR_SUCCESS, ERROR_ALREADY_EXISTS}) {
    const HANDLE file = OpenToAppend(L".\\probe_log.txt");
    EXPECT_EQ(::GetLastError(), outcome);
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(file, "alive", 5, &written, nullptr));
    EXPECT_EQ(written, 5u);
    EXPECT_TRUE(::CloseHandle(file));
  }
  EXPECT_EQ(test::ContentOf("probe_log.txt"), "alivealive");
}

TEST_F(Files, RegularFilesAreReadByTheirUtf16Path) {
  std::filesystem::create_directory("\xEC\xA2\x85");
  Write("\xEC\xA2\x85/image", "pixels");
  const HANDLE file = OpenToRead(L"\xC885\\image");
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  LARGE_INTEGER size{};
  EXPECT_EQ(::GetFileType(file), FILE_TYPE_DISK);
  EXPECT_TRUE(::GetFileSizeEx(file, &size));
  EXPECT_EQ(size.QuadPart, 6);
  for (const std::string expected : {"pixels", ""}) {
    char bytes[16] = {};
    DWORD count = 0;
    EXPECT_TRUE(::ReadFile(file, bytes, sizeof(bytes), &count, nullptr));
    EXPECT_EQ(std::string(bytes, count), expected);
  }
  EXPECT_TRUE(::CloseHandle(file));
}

TEST_F(Files, FailuresHaveThePlatformsErrorCodes) {
  Write("file", "");
  std::filesystem::create_symlink("nowhere/file", "link");
  const std::pair<std::wstring, DWORD> cases[] = {
      {L"", ERROR_PATH_NOT_FOUND},
      {L"missing", ERROR_FILE_NOT_FOUND},
      {L"file\\below", ERROR_PATH_NOT_FOUND},
      {L".", ERROR_ACCESS_DENIED},
      {L"a\xD800", ERROR_INVALID_NAME},
      {std::wstring(300, L'x'), ERROR_FILENAME_EXCED_RANGE},
  };
  for (const auto& [path, error] : cases) {
    EXPECT_EQ(OpenToRead(path), INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), error) << ToUtf8(path);
  }
  EXPECT_EQ(OpenToAppend(L"link"), INVALID_HANDLE_VALUE) << "a dangling link";
  constexpr DWORD deleteOnClose = 0x04000000, createNew = 1;
  for (const auto& [disposition, flags] :
       {std::pair{createNew, DWORD{0}}, {DWORD{OPEN_ALWAYS}, deleteOnClose}}) {
    EXPECT_EQ(::CreateFileW(L"f", GENERIC_WRITE, 0, nullptr, disposition, flags, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), ERROR_NOT_SUPPORTED);
    EXPECT_FALSE(std::filesystem::exists("f"));
  }
  const HANDLE full = OpenToAppend(L"/dev/full");
  DWORD written = 0;
  EXPECT_FALSE(::WriteFile(full, "x", 1, &written, nullptr));
  EXPECT_EQ(::GetLastError(), ERROR_DISK_FULL);
  EXPECT_TRUE(::CloseHandle(full));
}

}  // namespace
}  // namespace quillmark::layer
