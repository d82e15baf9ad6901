#include <gtest/gtest.h>
#include <windows.h>

#include <winver.h>

#include <cstddef>
#include <string>
#include <vector>

#include "host/Text.h"

namespace quillmark::layer {
namespace {

TEST(Version, OfTheRunningProgramIsReportedAndNoOther) {
  wchar_t path[1024];
  ::GetModuleFileNameW(nullptr, path, 1024);
  std::vector<std::byte> block(::GetFileVersionInfoSizeW(path, nullptr));
  const auto size = static_cast<DWORD>(block.size());
  EXPECT_FALSE(::GetFileVersionInfoW(path, 0, size - 1, block.data()));
  EXPECT_EQ(::GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  ASSERT_TRUE(::GetFileVersionInfoW(path, 0, size, block.data()));

  void* value = nullptr;
  UINT length = 0;
  ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\", &value, &length));
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value);
  EXPECT_EQ(info.dwSignature, 0xFEEF04BD);
  std::string numbers;
  for (const DWORD part :
       {info.dwFileVersionMS >> 16, info.dwFileVersionMS & 0xFFFF, info.dwFileVersionLS >> 16}) {
    numbers += (numbers.empty() ? "" : ".") + std::to_string(part);
  }
  ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\varFileInfo\\TRANSLATION", &value, &length));
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(*static_cast<const DWORD*>(value), 0x04B00409u);
  ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\StringFileInfo\\040904b0\\ProductVersion", &value, &length));
  const std::string text = ToUtf8({static_cast<const wchar_t*>(value), length - 1});
  EXPECT_TRUE(text.starts_with(numbers)) << text;
  EXPECT_FALSE(::VerQueryValueW(block.data(), L"\\StringFileInfo\\040904b0\\Comments", &value, &length));

  EXPECT_EQ(::GetFileVersionInfoSizeW(L"/bin/sleep", nullptr), 0u);
  EXPECT_EQ(::GetLastError(), ERROR_RESOURCE_TYPE_NOT_FOUND);
}

}  // namespace
}  // namespace quillmark::layer
