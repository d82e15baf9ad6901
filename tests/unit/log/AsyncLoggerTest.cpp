#include "log/AsyncLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "support/DebugOutputCapture.h"
#include "support/Eventually.h"
#include "support/HeldFile.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

using testing::EndsWith;

std::wstring Number(int n) {
  return L"line " + std::to_wstring(n) + L".";
}

TEST(LogLine, BeginsWithFieldsOfFixedWidth) {
  EXPECT_EQ(AsyncLogger::FormatLogLine(L"", {2026, 1, 2, 3, 4, 5, 6, 4294967295u}),
            L"2026-01-02 03:04:05.006 [T4294967295] ");
  EXPECT_EQ(AsyncLogger::FormatLogLine(L"a\nb %s \xD55C", {2026, 12, 31, 23, 59, 59, 999, 1}),
            L"2026-12-31 23:59:59.999 [T1] a\nb %s \xD55C");
}

TEST(LogLine, CarriesTheCallersThreadAndTheLocalTime) {
  const auto now = [] {
    SYSTEMTIME t{};
    ::GetLocalTime(&t);
    return AsyncLogger::FormatLogLine(L"message", {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond,
                                                   t.wMilliseconds, ::GetCurrentThreadId()});
  };
  const std::wstring before = now(), line = AsyncLogger::FormatLogLine(L"message"), after = now();
  EXPECT_TRUE(before <= line && line <= after);
}

TEST(AsyncLogger, KeepsTheNewestLinesWhileItsFileIsStalled) {
  constexpr int Flood = static_cast<int>(AsyncLogger::MaxQueuedLines);
  const TempFolder folder;
  const std::string path = (folder.Path() / "log.txt").string();
  DebugOutputCapture output;
  {
    std::FILE* const file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    AsyncLogger logger({.toDebugOutput = false, .toFile = true, .file = decltype(LogSinks::file)(file)});
    const HeldFile held(file);
    logger.Log(L"stalled");
    ASSERT_TRUE(Eventually([&] { return logger.QueuedLines() == 0; }));
    for (int n = 0; n <= Flood; ++n) {
      EXPECT_EQ(logger.DroppedLines(), 0u);
      logger.Log(Number(n));
    }
    EXPECT_EQ(logger.DroppedLines(), 1u);
    EXPECT_EQ(logger.QueuedLines(), 8192u);
  }
  EXPECT_TRUE(output.Lines().empty()) << "this sink is off";
  std::ifstream lines(path);
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_THAT(line, EndsWith("] stalled"));
  for (int n = 1; n <= Flood; ++n) {
    ASSERT_TRUE(std::getline(lines, line));
    ASSERT_THAT(line, EndsWith("] line " + std::to_string(n) + "."));
  }
}

TEST(AsyncLogger, PrintsUtf8OnStandardOutput) {
  testing::internal::CaptureStdout();
  {
    AsyncLogger logger({.toDebugOutput = false, .toConsole = true, .file = {}});
    logger.Print(L"\xD55C\xD83D\xDE00");
    logger.Print(L"second");
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\xED\x95\x9C\xF0\x9F\x98\x80\nsecond\n");
}

constexpr int LinesBeforeExit = 500;
DebugOutputCapture* outputAtExit = nullptr;

void CheckWhatWasWritten() {
  const bool all = outputAtExit->WaitForCount("line ", LinesBeforeExit);
  std::_Exit(all && outputAtExit->Lines().back().ends_with("line 499.") ? 0 : 1);
}

[[noreturn]] void LogAndExit() {
  // Destroyed in reverse order: the log, then this check of it, then the capture.
  static DebugOutputCapture output;
  outputAtExit = &output;
  std::atexit(CheckWhatWasWritten);
  for (int n = 0; n < LinesBeforeExit; ++n) AsyncLogger::Instance().Log(Number(n));
  std::exit(2);
}

TEST(AsyncLoggerDeathTest, DrainsTheProcessLogAtExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(LogAndExit(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quillmark::test
