// The words of a command that is printed for the user to give.
#include <gtest/gtest.h>
#include <windows.h>

// After windows.h, which it builds on.
#include <shellapi.h>

#include <string>

#include "host/Terminal.h"

namespace quillmark::control {
namespace {

TEST(WindowsShell, QuotedWordArrivesWhole) {
  for (const std::string word : {"", "plain", "C:\\a\\b.png", "two words", "ends with \\",
                                 "\\\\host\\a b\\\\", "say \"hi\"", "a\\\"b c", "\"", "a&b", "1,2,3,4"}) {
    const std::string line = "quillmarkctl " + host::ShellQuoted(word) + " end";
    int count = 0;
    LPWSTR* const words = ::CommandLineToArgvW(std::wstring(line.begin(), line.end()).c_str(), &count);
    ASSERT_NE(words, nullptr);
    ASSERT_EQ(count, 3) << line;
    EXPECT_EQ(words[1], std::wstring(word.begin(), word.end())) << line;
    ::LocalFree(words);
  }
}

}  // namespace
}  // namespace quillmark::control
