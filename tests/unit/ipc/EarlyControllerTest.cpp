// A controller that comes as early as it can: in the middle of the reader's start. The linker passes the
// calls of CreateEventW through here.
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <optional>
#include <utility>

#include "ipc/CmdRingReader.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace {
std::function<void()> afterNextEvent;
}

extern "C" HANDLE WINAPI __real_CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset,
                                             BOOL initialState, LPCWSTR name);
extern "C" HANDLE WINAPI __wrap_CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset,
                                             BOOL initialState, LPCWSTR name) {
  const HANDLE event = __real_CreateEventW(attributes, manualReset, initialState, name);
  const DWORD outcome = ::GetLastError();
  if (const auto action = std::exchange(afterNextEvent, nullptr)) action();
  ::SetLastError(outcome);
  return event;
}

namespace quillmark::test {
namespace {

TEST(CmdRingStartTest, KeepsWhatIsPublishedAsSoonAsTheEventExists) {
  const PrivateSession session;
  std::optional<RawController> controller;
  CmdRingReader reader;
  int cleared = 0;
  reader.SetHandlers({}, [&] { ++cleared; }, {});
  afterNextEvent = [&] { EXPECT_TRUE(controller.emplace().SendClear()); };
  ASSERT_TRUE(reader.Init(0));
  ASSERT_TRUE(controller);
  reader.Poll(0);
  EXPECT_EQ(cleared, 1);
  EXPECT_EQ(controller->PendingCommands(), 0u);
}

}  // namespace
}  // namespace quillmark::test
