// The debugger output: its reader sees each call by itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <thread>
#include <vector>

#include "support/DebugOutputCapture.h"

namespace quillmark::test {
namespace {

TEST(DebugOutput, EachCallIsALineWithOrWithoutItsLineEnd) {
  const DebugOutputCapture output;
  ::OutputDebugStringW(L"wide\n");
  ::OutputDebugStringA("narrow\n");
  ::OutputDebugStringW(L"wide, no line end");
  ::OutputDebugStringA("narrow, no line end");
  ::OutputDebugStringW(L"last\n");
  ASSERT_TRUE(output.WaitForLine("last"));
  EXPECT_THAT(output.Lines(),
              testing::ElementsAre("wide", "narrow", "wide, no line end", "narrow, no line end", "last"));
}

TEST(DebugOutput, LongLinesOfSeveralThreadsStayWholeAndInOrder) {
  constexpr int Threads = 4, Lines = 3;
  const auto line = [](int thread, int number) {
    return std::to_string(thread) + " line " + std::to_string(number) +
           std::string(3900, static_cast<char>('a' + thread));
  };
  const DebugOutputCapture output;
  std::vector<std::thread> writers;
  for (int thread = 0; thread < Threads; ++thread) {
    writers.emplace_back([&, thread] {
      for (int number = 0; number < Lines; ++number) ::OutputDebugStringA(line(thread, number).c_str());
    });
  }
  for (std::thread& writer : writers) writer.join();
  ASSERT_TRUE(output.WaitForCount(" line ", Threads * Lines));
  std::vector<int> next(Threads);
  for (const std::string& seen : output.Lines()) {
    const int thread = seen.at(0) - '0';
    ASSERT_TRUE(thread >= 0 && thread < Threads);
    EXPECT_EQ(seen, line(thread, next[static_cast<std::size_t>(thread)]++));
  }
}

}  // namespace
}  // namespace quillmark::test
