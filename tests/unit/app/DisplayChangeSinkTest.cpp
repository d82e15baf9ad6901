#include "app/DisplayChangeSink.h"

#include <gtest/gtest.h>

#include <atomic>
#include <utility>

#include "support/Eventually.h"
#include "support/TestDesktop.h"

namespace quillmark::test {
namespace {

TEST(DisplayChangeSink, TellsOfAChangeOfTheRealDesktopUntilItIsStopped) {
  TestDesktop desktop;
  std::atomic<int> changes = 0;
  DisplayChangeSink sink;
  sink.Start([&] { ++changes; });
  // Again until the sink's window is there to be told.
  EXPECT_TRUE(Eventually([&] {
    desktop.ChangeDisplays();
    return changes > 0;
  }));
  sink.Stop();
  const int before = changes;
  desktop.ChangeDisplays();
  EXPECT_EQ(changes, before);
}

// Through a second window of the sink's class, on this thread.
TEST(DisplayChangeSink, TellsOnceOfEachMessageThatMayMeanANewDisplay) {
  TestDesktop desktop;
  std::atomic<int> told = 0;
  DisplayChangeSink sink;
  sink.Start([&] { ++told; });
  HWND window = nullptr;
  ASSERT_TRUE(Eventually([&] {  // until the sink has registered the class
    window = ::CreateWindowExW(0, L"DupMsgSinkClass", L"", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, &sink);
    return window != nullptr;
  }));
  using Expected = std::pair<UINT, int>;
  for (const auto& [message, expected] :
       {Expected{WM_DISPLAYCHANGE, 1}, {WM_DEVICECHANGE, 1}, {WM_DPICHANGED, 1}, {WM_NULL, 0}}) {
    told = 0;
    ::PostMessageW(window, message, 0, 0);
    MSG received{};
    do {
      ASSERT_GT(::GetMessageW(&received, nullptr, 0, 0), 0);
      ::DispatchMessageW(&received);
    } while (received.message != message);
    EXPECT_EQ(told, expected) << message;
  }
  ::DestroyWindow(window);
}

}  // namespace
}  // namespace quillmark::test
