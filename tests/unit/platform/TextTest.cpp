// Text between UTF-16 units and UTF-8, and the debugger output that uses it.
#include <gtest/gtest.h>
#include <unistd.h>
#include <windows.h>

#include <string>
#include <string_view>

#include "host/Text.h"

namespace quillmark::layer {
namespace {

std::string Narrow(std::wstring_view wide, DWORD flags = 0) {
  char bytes[64];
  const int length = ::WideCharToMultiByte(CP_UTF8, flags, wide.data(), static_cast<int>(wide.size()), bytes,
                                           sizeof(bytes), nullptr, nullptr);
  return {bytes, static_cast<std::size_t>(length)};
}

std::wstring Widen(std::string_view bytes, DWORD flags = 0) {
  wchar_t wide[64];
  const int length =
      ::MultiByteToWideChar(CP_UTF8, flags, bytes.data(), static_cast<int>(bytes.size()), wide, 64);
  return {wide, static_cast<std::size_t>(length)};
}

TEST(Text, ConvertsBothWays) {
  const struct {
    std::wstring wide;
    std::string bytes;
  } cases[] = {
      {L"A~", "A~"},
      {L"\x7FF\x800", "\xDF\xBF\xE0\xA0\x80"},
      {L"\xC885\xB8CC", "\xEC\xA2\x85\xEB\xA3\x8C"},
      {L"\xD7FF\xE000\xFFFF", "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
      {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
  };
  for (const auto& [wide, bytes] : cases) {
    EXPECT_EQ(Narrow(wide, WC_ERR_INVALID_CHARS), bytes);
    EXPECT_EQ(Widen(bytes, MB_ERR_INVALID_CHARS), wide);
  }
}

TEST(Text, UnpairedSurrogatesAreReplacedOrRefused) {
  const std::wstring cases[] = {{L'a', 0xD800, L'b'}, {L'a', 0xDC00, L'b'}};
  for (const std::wstring& wide : cases) {
    EXPECT_EQ(Narrow(wide), "a\uFFFDb");
    EXPECT_EQ(Narrow(wide, WC_ERR_INVALID_CHARS), "");
    EXPECT_EQ(::GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
  }
  EXPECT_EQ(Narrow(std::wstring{0xDE00, 0xD83D}), "\xEF\xBF\xBD\xEF\xBF\xBD") << "the wrong way round";
}

TEST(Text, IllFormedBytesAreReplacedOrRefused) {
  const struct {
    std::string bytes;
    std::wstring wide;
  } cases[] = {
      {"a\200b", L"a\uFFFDb"},                            // continuation alone
      {"\xC0\xAF", L"\xFFFD\xFFFD"},                      // overlong
      {"\xE0\x80\x80", L"\xFFFD\xFFFD\xFFFD"},            // overlong
      {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},            // surrogate
      {"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},  // beyond the last character
      {"\xF0\x9F\x98", L"\xFFFD"},                        // cut off at the end
      {"\xE2\202A", L"\uFFFDA"},                          // cut off by another character
  };
  for (const auto& [bytes, wide] : cases) {
    EXPECT_EQ(Widen(bytes), wide);
    EXPECT_EQ(Widen(bytes, MB_ERR_INVALID_CHARS), L"");
    EXPECT_EQ(::GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
  }
}

TEST(Text, LengthsAndCapacitiesAreThoseOfThePlatform) {
  char bytes[4];
  EXPECT_EQ(::WideCharToMultiByte(CP_UTF8, 0, L"abc", -1, nullptr, 0, nullptr, nullptr), 4);
  EXPECT_EQ(::WideCharToMultiByte(CP_UTF8, 0, L"abc", -1, bytes, 4, nullptr, nullptr), 4);
  EXPECT_STREQ(bytes, "abc");
  EXPECT_EQ(::WideCharToMultiByte(CP_UTF8, 0, L"abcde", 5, bytes, 4, nullptr, nullptr), 0);
  EXPECT_EQ(::GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(::WideCharToMultiByte(CP_UTF8, 0, L"abc", 0, bytes, 4, nullptr, nullptr), 0);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(::MultiByteToWideChar(1252, 0, "abc", 3, nullptr, 0), 0);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(::MultiByteToWideChar(CP_UTF8, 1, "abc", 3, nullptr, 0), 0);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_FLAGS);
}

// What one call writes to standard error.
std::string Shown(LPCWSTR text) {
  testing::internal::CaptureStderr();
  ::OutputDebugStringW(text);
  return testing::internal::GetCapturedStderr();
}

TEST(DebugOutput, EveryCallIsOneLineOfUtf8) {
  EXPECT_EQ(Shown(L"[INFO] \xC885"), "[INFO] \xEC\xA2\x85\n");
  EXPECT_EQ(Shown(L"ends its own line\n"), "ends its own line\n");
  EXPECT_EQ(Shown(L""), "\n");
}

}  // namespace
}  // namespace quillmark::layer
