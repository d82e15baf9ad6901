// UTF-8 converted to UTF-16 and back, and printed by the debugger output.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

namespace quillmark::layer {
namespace {

std::string Narrow(std::wstring_view wide, DWORD flags) {
  char bytes[64];
  const int length = ::WideCharToMultiByte(CP_UTF8, flags, wide.data(), static_cast<int>(wide.size()), bytes,
                                           sizeof(bytes), nullptr, nullptr);
  return {bytes, static_cast<std::size_t>(length)};
}

std::wstring Widen(std::string_view bytes, DWORD flags) {
  wchar_t wide[64];
  const int length =
      ::MultiByteToWideChar(CP_UTF8, flags, bytes.data(), static_cast<int>(bytes.size()), wide, 64);
  return {wide, static_cast<std::size_t>(length)};
}

TEST(Text, ConvertsBothWays) {
  const std::pair<std::wstring, std::string> cases[] = {
      {L"~\x7FF\x800", "~\xDF\xBF\xE0\xA0\x80"},
      {L"\xD7FF\xE000\xFFFF", "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
      {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
  };
  for (const auto& [wide, bytes] : cases) {
    EXPECT_EQ(Narrow(wide, WC_ERR_INVALID_CHARS), bytes);
    EXPECT_EQ(Widen(bytes, MB_ERR_INVALID_CHARS), wide);
  }
}

TEST(Text, InvalidTextIsReplacedOrRefused) {
  for (const auto& [wide, bytes] : {std::pair<std::wstring, std::string>{{L'a', 0xD800, L'b'}, "a\uFFFDb"},
                                    {{0xDE00, 0xD83D}, "\uFFFD\uFFFD"}}) {
    EXPECT_EQ(Narrow(wide, 0), bytes);
    EXPECT_EQ(Narrow(wide, WC_ERR_INVALID_CHARS), "");
    EXPECT_EQ(::GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
  }
  const std::pair<std::string, std::wstring> cases[] = {
      {"a\200b", L"a\uFFFDb"},                            // continuation alone
      {"\xE0\x80\x80", L"\xFFFD\xFFFD\xFFFD"},            // overlong
      {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},            // surrogate
      {"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},  // beyond the last character
      {"\xF0\x9F\x98", L"\xFFFD"},                        // truncated
      {"\xE2\202A", L"\uFFFDA"},                          // cut short by another character
  };
  for (const auto& [bytes, wide] : cases) {
    EXPECT_EQ(Widen(bytes, 0), wide);
    EXPECT_EQ(Widen(bytes, MB_ERR_INVALID_CHARS), L"");
    EXPECT_EQ(::GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
  }
}

TEST(DebugOutput, EveryCallIsOneLineOfUtf8) {
  testing::internal::CaptureStderr();
  for (const LPCWSTR text : {L"[INFO] \xC885", L"with its line end\n", L""}) ::OutputDebugStringW(text);
  ::OutputDebugStringA("narrow");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "[INFO] \xEC\xA2\x85\nwith its line end\n\nnarrow\n");
}

}  // namespace
}  // namespace quillmark::layer
