#include "log/AsyncLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/DebugOutputCapture.h"
#include "support/Eventually.h"

namespace quillmark::test {
namespace {

using testing::EndsWith;

std::wstring Number(int n) {
  return L"line " + std::to_wstring(n) + L".";
}

TEST(LogLine, HasFixedWidthFieldsInFrontOfTheMessage) {
  const struct {
    LogStamp stamp;
    const wchar_t* message;
    const wchar_t* line;
  } cases[] = {
      {{2025, 11, 15, 21, 14, 6, 42, 7312}, L"X", L"2025-11-15 21:14:06.042 [T7312] X"},
      {{2026, 1, 2, 3, 4, 5, 6, 4294967295u}, L"", L"2026-01-02 03:04:05.006 [T4294967295] "},
      {{2026, 12, 31, 23, 59, 59, 999, 1}, L"a\nb %s \xD55C", L"2026-12-31 23:59:59.999 [T1] a\nb %s \xD55C"},
  };
  for (const auto& c : cases) EXPECT_EQ(AsyncLogger::FormatLogLine(c.message, c.stamp), c.line);
}

TEST(LogLine, CarriesTheCallersThreadAndTheLocalTime) {
  SYSTEMTIME before{}, after{};
  ::GetLocalTime(&before);
  const std::wstring line = AsyncLogger::FormatLogLine(L"message");
  ::GetLocalTime(&after);

  const auto stamped = [](const SYSTEMTIME& t) {
    return AsyncLogger::FormatLogLine(L"message", {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond,
                                                   t.wMilliseconds, ::GetCurrentThreadId()});
  };
  EXPECT_LE(stamped(before), line);
  EXPECT_GE(stamped(after), line);
}

TEST(AsyncLogger, KeepsTheNewestLinesWhileItsThreadIsStalled) {
  constexpr int Flood = static_cast<int>(AsyncLogger::MaxQueuedLines);
  DebugOutputCapture output;
  AsyncLogger logger;
  output.Pause();
  // A line above the pipe's capacity holds the logger's thread inside the sink.
  logger.Log(std::wstring(100'000, L'x'));
  ASSERT_TRUE(Eventually([&] { return logger.QueuedLines() == 0; }));

  for (int n = 0; n < Flood; ++n) logger.Log(Number(n));
  EXPECT_EQ(logger.DroppedLines(), 0u);
  EXPECT_EQ(logger.QueuedLines(), AsyncLogger::MaxQueuedLines);
  logger.Log(Number(Flood));
  EXPECT_EQ(logger.DroppedLines(), 1u);
  EXPECT_EQ(logger.QueuedLines(), AsyncLogger::MaxQueuedLines);

  output.Resume();
  ASSERT_TRUE(output.WaitForLine("line " + std::to_string(Flood) + "."));
  EXPECT_EQ(output.Count("line 0."), 0u);
  EXPECT_EQ(output.Count("line 1."), 1u);
  EXPECT_EQ(output.Lines().size(), AsyncLogger::MaxQueuedLines + 1);
}

TEST(AsyncLogger, KeepsTheOrderOfEachThread) {
  constexpr int Threads = 4, Each = 500;
  DebugOutputCapture output;
  {
    AsyncLogger logger;
    std::vector<std::thread> producers;
    for (int t = 0; t < Threads; ++t) {
      producers.emplace_back([&logger, t] {
        for (int n = 0; n < Each; ++n) logger.Log(std::to_wstring(t) + L" says " + std::to_wstring(n));
      });
    }
    for (std::thread& producer : producers) producer.join();
  }
  ASSERT_TRUE(output.WaitForCount(" says ", Threads * Each));

  int next[Threads] = {};
  for (const std::string& line : output.Lines()) {
    int thread = -1, number = -1;
    ASSERT_EQ(std::sscanf(line.c_str() + line.find("] ") + 2, "%d says %d", &thread, &number), 2) << line;
    EXPECT_EQ(number, next[thread]++);
  }
}

TEST(AsyncLogger, WritesTheOtherSinksWhenTheyAreOn) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const int copy = ::dup(::fileno(file));
  {
    LogSinks sinks;
    sinks.toDebugOutput = false;
    sinks.toFile = true;
    sinks.file.reset(file);
    DebugOutputCapture output;
    {
      AsyncLogger logger(std::move(sinks));
      logger.Log(L"into the file");
    }
    EXPECT_TRUE(output.Lines().empty());
  }
  char text[200] = {};
  ASSERT_GT(::pread(copy, text, sizeof text - 1, 0), 0);
  ::close(copy);
  EXPECT_THAT(text, EndsWith("] into the file\n"));
}

TEST(AsyncLoggerDeathTest, OfTheProcessIsDrainedAtExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto linesIn = [](const std::string& text) { return std::count(text.begin(), text.end(), '.'); };
  // Each line holds two points: that of the milliseconds and the one after the number.
  EXPECT_EXIT(
      {
        for (int n = 0; n < 500; ++n) AsyncLogger::Instance().Log(Number(n));
        std::exit(0);
      },
      testing::ExitedWithCode(0), testing::AllOf(testing::ResultOf(linesIn, 1000), EndsWith("line 499.\n")));
}

}  // namespace
}  // namespace quillmark::test
