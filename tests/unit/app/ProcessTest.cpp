// The process around the engine: set-up, pump and exception handlers, run in the test's process.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <thread>
#include <utility>

#include "app/CommandPump.h"
#include "app/FatalHandlers.h"
#include "app/frame/DisplayChangeSink.h"
#include "app/frame/OpenCvConfig.h"
#include "support/DebugOutputCapture.h"
#include "support/Eventually.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {
namespace {

using namespace std::chrono_literals;

TEST(OpenCvConfig, RunsOnOneThread) {
  ConfigureOpenCvOnce();
  EXPECT_EQ(cv::getNumThreads(), 1);
  EXPECT_TRUE(cv::useOptimized());
}

TEST(FatalHandlersTest, ExceptionsGiveOutputAPauseAndAnExitCode) {
  struct Case {
    int (*body)();
    int code;
    const char* onStandardError;
    const char* onDebugger;
  };
  const Case table[] = {
      {[] { return 7; }, 7, nullptr, nullptr},
      {[]() -> int { throw std::runtime_error("it broke"); }, 1, "[FATAL] Unhandled std::exception: it broke",
       "it broke"},
      {[]() -> int { throw 42; }, 2, "[FATAL] Unknown exception in wmain()", "[FATAL] Unknown exception"},
  };
  for (const Case& c : table) {
    test::DebugOutputCapture output;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunGuarded(c.body, 20ms), c.code);
    if (c.onStandardError == nullptr) continue;
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    ASSERT_TRUE(output.WaitForCount(c.onDebugger, 2));
    EXPECT_EQ(output.Lines(), (std::vector<std::string>{c.onStandardError, c.onDebugger}));
  }
}

class PumpTest : public ::testing::Test {
 protected:
  struct PumpEnded {};
  // Runs the worker, without its single-instance check, until the condition holds or time is up.
  template <typename Condition>
  bool PumpUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    bool held = false;
    try {
      static_cast<void>(RunCommandPump([&] {
        held = condition();
        if (held || std::chrono::steady_clock::now() > deadline) throw PumpEnded{};
      }));
    } catch (const PumpEnded&) {
    }
    return held;
  }

  test::PrivateSession session;
  std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
};

TEST_F(PumpTest, ExecutesCommandsUntilAnExceptionEndsIt) {
  test::RawController controller;
  test::DebugOutputCapture output;
  ASSERT_TRUE(controller.SendClear());
  ASSERT_TRUE(controller.SendHeartbeat(L"alive"));

  int polls = 0;
  std::chrono::steady_clock::time_point first;
  EXPECT_TRUE(PumpUntil([&] {
    if (++polls == 1) {
      first = std::chrono::steady_clock::now();
      EXPECT_EQ(controller.PendingCommands(), 0u);
    }
    return polls >= 3 && output.Count("[Spec][CLEAR] reason=cmd (count=0)") == 1;
  }));
  EXPECT_GE(std::chrono::steady_clock::now() - first, 50ms * (polls - 1));

  EXPECT_TRUE(controller.WaitForHit(L"alive"));
  const std::vector<std::string> expected = {"Init begin", "Init success", "AsyncLogger started",
                                             "tracking: ", "ESC to exit"};
  std::vector<std::string> start;
  for (const std::string& line : output.Lines()) {
    for (const std::string& text : expected) {
      if (line.find(text) != std::string::npos) start.push_back(text);
    }
  }
  EXPECT_EQ(start, expected);
  EXPECT_EQ(desktop->OpenDuplications(), 0) << "the engine has been stopped";
}

TEST_F(PumpTest, ReturnsOneWhenTheCommandRingCannotBeOpened) {
  const UniqueHandle taken(::CreateEventW(nullptr, FALSE, FALSE, L"Local\\CmdRingMMF"));
  ASSERT_TRUE(taken) << "an object of another type has the ring's name";
  test::DebugOutputCapture output;
  EXPECT_EQ(RunCommandPump(), 1);
  EXPECT_TRUE(output.WaitForLine("CmdRingReader Init failed!"));
  EXPECT_EQ(output.Count("ESC to exit"), 0u);
}

class SinkTest : public ::testing::Test {
 protected:
  std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
};

TEST_F(SinkTest, ReportsChangesWhileStarted) {
  DisplayChangeSink sink, silent;
  silent.Start({});
  for (int round = 0; round < 3; ++round) {
    std::atomic<int> calls{0};
    sink.Start([&] { ++calls; });
    EXPECT_TRUE(test::Eventually([&] {
      desktop->ChangeDisplay();  // repeated, since the sink's window may not exist yet
      return calls > 0;
    })) << round;
    sink.Stop();
    const int before = calls;
    desktop->ChangeDisplay();
    EXPECT_EQ(calls, before) << round;
  }
}

TEST_F(SinkTest, ReportsEachMessageThatMayMeanANewDisplayOnce) {
  std::atomic<int> reports{0};
  DisplayChangeSink sink;
  sink.Start([&] { ++reports; });
  HWND window = nullptr;              // a second window of the sink's class, on this thread
  ASSERT_TRUE(test::Eventually([&] {  // until the sink has registered the class
    window = ::CreateWindowExW(0, L"DupMsgSinkClass", L"", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, &sink);
    return window != nullptr;
  }));
  using Expected = std::pair<UINT, int>;
  for (const auto& [message, expected] :
       {Expected{WM_DISPLAYCHANGE, 1}, {WM_DEVICECHANGE, 1}, {WM_DPICHANGED, 1}, {WM_NULL, 0}}) {
    reports = 0;
    ::PostMessageW(window, message, 0, 0);
    MSG received{};
    do {
      ASSERT_GT(::GetMessageW(&received, nullptr, 0, 0), 0);
      ::DispatchMessageW(&received);
    } while (received.message != message);
    EXPECT_EQ(reports, expected) << message;
  }
  ::DestroyWindow(window);
}

TEST_F(SinkTest, AStopRightAfterAStartEnds) {
  for (int round = 0; round < 300; ++round) {
    DisplayChangeSink sink;
    sink.Start({});
    for (int i = 0; i < round % 20; ++i) std::this_thread::yield();
    sink.Stop();
    sink.Stop();
  }
}

}  // namespace
}  // namespace quillmark
