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
  static HANDLE MakeMutex(LPCWSTR name = L"KXTest") { return ::CreateMutexW(nullptr, TRUE, name); }
  static HANDLE MakeEvent(LPCWSTR name = L"Local\\Event", BOOL manual = FALSE, BOOL set = FALSE) {
    return ::CreateEventW(nullptr, manual, set, name);
  }
  static HANDLE MakeSection(DWORD size = 8208, LPCWSTR name = L"Local\\Ring") {
    return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
  }
  static std::uint32_t* MapAll(const Made& section) {
    return static_cast<std::uint32_t*>(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
  }

  PrivateSession session;
  LineProcess other{OBJECT_HOLDER};
};

TEST_F(NamedObjects, AMutexExistsUntilItsCreatorIsKilled) {
  ASSERT_EQ(other.Ask("mutex Local\\KXTest 1"), "new");
  Made existing(MakeMutex());  // the same name without its prefix
  EXPECT_NE(existing.Get(), nullptr);
  EXPECT_EQ(existing.error, ERROR_ALREADY_EXISTS);
  existing.Close();
  other.Kill();
  EXPECT_EQ(Made(MakeMutex()).error, ERROR_SUCCESS);
}

TEST_F(NamedObjects, AnObjectDiesWithItsLastHolder) {
  ASSERT_EQ(other.Ask("section Local\\Ring 8208"), "new");
  ASSERT_EQ(other.Ask("write 7"), "7");
  Made section(MakeSection());
  EXPECT_EQ(section.error, ERROR_ALREADY_EXISTS);
  other.Kill();
  EXPECT_EQ(*MapAll(section), 7u);
  EXPECT_EQ(Made(MakeSection()).error, ERROR_ALREADY_EXISTS);
  section.Close();
  const Made again(MakeSection());
  EXPECT_EQ(again.error, ERROR_SUCCESS);
  EXPECT_EQ(*MapAll(again), 0u) << "a new section is zeroed";
}

TEST_F(NamedObjects, AViewKeepsItsBytesButNotTheName) {
  Made section(MakeSection());
  auto* words = MapAll(section);
  *words = 5;
  section.Close();
  EXPECT_EQ(other.Ask("section Local\\Ring 8208"), "new");
  EXPECT_EQ(other.Ask("read"), "0");
  EXPECT_EQ(*words, 5u);
  EXPECT_TRUE(::UnmapViewOfFile(words));
  EXPECT_FALSE(::UnmapViewOfFile(words));
}

TEST_F(NamedObjects, AnExistingSectionKeepsItsSize) {
  ASSERT_EQ(other.Ask("section Local\\Ring 100"), "new");
  const Made section(MakeSection(20496));
  EXPECT_EQ(section.error, ERROR_ALREADY_EXISTS);
  const auto* words = MapAll(section);
  MEMORY_BASIC_INFORMATION info{};
  ASSERT_EQ(::VirtualQuery(words, &info, sizeof(info)), sizeof(info));
  EXPECT_EQ(info.RegionSize, 4096u) << "the section's size in whole pages";
  EXPECT_EQ(info.BaseAddress, words);
  EXPECT_EQ(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 20496), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
}

TEST_F(NamedObjects, ANameBelongsToOneType) {
  ASSERT_EQ(other.Ask("section Local\\Thing 64"), "new");
  EXPECT_EQ(MakeEvent(L"Local\\Thing"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(MakeMutex(L"Thing"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  other.Kill();
  EXPECT_EQ(Made(MakeEvent(L"Local\\Thing")).error, ERROR_SUCCESS) << "free once the section is gone";
}

TEST_F(NamedObjects, AnAutoResetEventWakesOneWaitPerSignal) {
  const Made event(MakeEvent());
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
  const Made made(MakeEvent(L"Local\\Manual", TRUE, TRUE));
  const Made opened(MakeEvent(L"Local\\Manual", FALSE, FALSE));
  EXPECT_EQ(opened.error, ERROR_ALREADY_EXISTS);
  for (const DWORD timeoutMs : {DWORD{0}, DWORD{INFINITE}}) {
    EXPECT_EQ(::WaitForSingleObject(opened.Get(), timeoutMs), WAIT_OBJECT_0) << "manual reset: stays set";
  }
}

TEST_F(NamedObjects, NamesDistinguishCaseAndForeignLetters) {
  const Made event(MakeEvent(L"Local\\\xC885\xB8CC"));
  ASSERT_NE(event.Get(), nullptr);
  EXPECT_EQ(Made(MakeEvent(L"Local\\\xC885\xB8CC")).error, ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Made(MakeEvent(L"Local\\\xC885\xB8CD")).error, ERROR_SUCCESS);
  const Made upper(MakeEvent()), unnamed(MakeEvent(nullptr));
  EXPECT_EQ(Made(MakeEvent(L"Local\\event")).error, ERROR_SUCCESS);
  EXPECT_EQ(Made(MakeEvent(nullptr)).error, ERROR_SUCCESS) << "unnamed objects are not shared";
}

TEST_F(NamedObjects, WrongArgumentsAndHandlesAreErrors) {
  EXPECT_EQ(MakeSection(0), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(MakeEvent(L"Local\\a\\b"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_PATH_NOT_FOUND);
  const Made event(MakeEvent()), section(MakeSection());
  HANDLE closed = MakeEvent(L"Local\\Closed");
  ASSERT_TRUE(::CloseHandle(closed));
  for (const HANDLE wrong : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, closed, section.Get()}) {
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(::SetEvent(wrong));
    EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  }
  EXPECT_EQ(::WaitForSingleObject(closed, 0), WAIT_FAILED);
  EXPECT_FALSE(::CloseHandle(closed));
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(MapAll(event), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
}

}  // namespace
}  // namespace quillmark::test
