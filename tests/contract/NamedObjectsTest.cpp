// Named mutexes, events and sections as the product and its controllers use them.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/UniqueHandle.h"
#include "support/LineProcess.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

struct Made {
  explicit Made(HANDLE handle) : error(::GetLastError()), owner(handle) {}
  HANDLE Get() const { return owner.Get(); }
  void Close() { owner.Reset(); }

  DWORD error;  // right after the call
  UniqueHandle owner;
};

class NamedObjects : public testing::Test {
 protected:
  static HANDLE MakeMutex() { return ::CreateMutexW(nullptr, TRUE, L"KXTest"); }
  static HANDLE MakeEvent(BOOL manual, BOOL set) {
    return ::CreateEventW(nullptr, manual, set, L"Local\\Event");
  }
  static HANDLE MakeSection() {
    return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, L"Local\\Ring");
  }
  static std::uint32_t* MapAll(const Made& section) {
    return static_cast<std::uint32_t*>(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
  }

  PrivateSession session;
  LineProcess other{OBJECT_HOLDER};
};

TEST_F(NamedObjects, AMutexExistsUntilItsCreatorIsKilled) {
  ASSERT_EQ(other.Ask("mutex Local\\KXTest"), "new");
  Made existing(MakeMutex());  // the same name without its prefix
  EXPECT_NE(existing.Get(), nullptr);
  EXPECT_EQ(existing.error, ERROR_ALREADY_EXISTS);
  existing.Close();
  other.Kill();
  EXPECT_EQ(Made(MakeMutex()).error, ERROR_SUCCESS);
}

TEST_F(NamedObjects, ASectionDiesWithItsLastHandleAndItsBytesWithTheLastView) {
  ASSERT_EQ(other.Ask("section Local\\Ring 7"), "new");
  Made section(MakeSection());
  EXPECT_EQ(section.error, ERROR_ALREADY_EXISTS);
  other.Kill();
  auto* const words = MapAll(section);
  EXPECT_EQ(*words, 7u);
  EXPECT_EQ(Made(MakeSection()).error, ERROR_ALREADY_EXISTS);
  section.Close();
  const Made again(MakeSection());
  EXPECT_EQ(again.error, ERROR_SUCCESS) << "a view does not keep the name";
  EXPECT_EQ(*MapAll(again), 0u) << "a new section is zeroed";
  EXPECT_EQ(*words, 7u);
  EXPECT_TRUE(::UnmapViewOfFile(words));
}

TEST_F(NamedObjects, AnAutoResetEventWakesOneWaitPerSignal) {
  const Made event(MakeEvent(FALSE, FALSE));
  ASSERT_EQ(other.Ask("event Local\\Event"), "existing");
  other.Say("wait 60000");
  EXPECT_TRUE(::SetEvent(event.Get()));
  EXPECT_EQ(other.Hear(), std::to_string(WAIT_OBJECT_0));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 30), WAIT_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));

  EXPECT_EQ(other.Ask("set"), "1");
  EXPECT_EQ(other.Ask("set"), "1");
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT) << "signals before a wait count as one";
}

TEST_F(NamedObjects, AnEventKeepsItsKindAndStateForLaterOpeners) {
  const Made made(MakeEvent(TRUE, TRUE)), opened(MakeEvent(FALSE, FALSE));
  EXPECT_EQ(opened.error, ERROR_ALREADY_EXISTS);
  for (const DWORD timeoutMs : {DWORD{0}, DWORD{INFINITE}}) {
    EXPECT_EQ(::WaitForSingleObject(opened.Get(), timeoutMs), WAIT_OBJECT_0) << "manual reset: stays set";
  }
}

}  // namespace
}  // namespace quillmark::test
