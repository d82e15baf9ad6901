// What the product expects of the debugger output: whoever reads it sees each call by itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <thread>
#include <vector>

#include "support/DebugOutputCapture.h"

namespace quillmark::test {
namespace {

TEST(DebugOutput, EachCallIsALineWithAndWithoutItsEnd) {
  const DebugOutputCapture output;
  ::OutputDebugStringW(L"wide\n");
  ::OutputDebugStringA("narrow\n");
  ::OutputDebugStringW(L"wide, without its end");
  ::OutputDebugStringA("narrow, without its end");
  ::OutputDebugStringW(L"last\n");
  ASSERT_TRUE(output.WaitForLine("last"));
  EXPECT_THAT(output.Lines(), testing::ElementsAre("wide", "narrow", "wide, without its end",
                                                   "narrow, without its end", "last"));
}

TEST(DebugOutput, LongLinesOfThreadsThatWriteAtOnceStayWholeAndInOrder) {
  constexpr std::size_t Threads = 4, Lines = 3;
  const auto line = [](std::size_t thread, std::size_t number) {
    return "thread " + std::to_string(thread) + " line " + std::to_string(number) + ' ' +
           std::string(3900, static_cast<char>('a' + thread));
  };
  const DebugOutputCapture output;
  std::vector<std::thread> writers;
  for (std::size_t thread = 0; thread < Threads; ++thread) {
    writers.emplace_back([&, thread] {
      for (std::size_t number = 0; number < Lines; ++number) {
        const std::string text = line(thread, number);
        ::OutputDebugStringW((std::wstring(text.begin(), text.end()) + L'\n').c_str());
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  ASSERT_TRUE(output.WaitForCount("thread ", Threads * Lines));

  std::vector<std::size_t> next(Threads);
  for (const std::string& seen : output.Lines()) {
    const std::size_t thread = static_cast<std::size_t>(seen.at(std::string("thread ").size()) - '0');
    ASSERT_LT(thread, Threads);
    EXPECT_EQ(seen, line(thread, next[thread]++));
  }
}

}  // namespace
}  // namespace quillmark::test
