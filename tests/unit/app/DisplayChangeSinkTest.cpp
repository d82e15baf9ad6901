#include "app/DisplayChangeSink.h"

#include <gtest/gtest.h>

#include <atomic>

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

}  // namespace
}  // namespace quillmark::test
