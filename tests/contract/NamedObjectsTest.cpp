// Named mutexes, events and sections as the product and its controllers use them.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>

#include "support/LineProcess.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

// The handles of a test, closed with it.
class OwnedHandle {
 public:
  explicit OwnedHandle(HANDLE handle) : error_(::GetLastError()), handle_(handle) {}
  ~OwnedHandle() { Close(); }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
  HANDLE Get() const { return handle_; }
  // The last error right after the object was made.
  DWORD Error() const { return error_; }
  void Close() {
    if (handle_) ::CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  DWORD error_;
  HANDLE handle_;
};

class NamedObjects : public testing::Test {
 protected:
  static HANDLE MakeMutex(LPCWSTR name = L"KXTest", BOOL owned = TRUE) {
    return ::CreateMutexW(nullptr, owned, name);
  }
  static HANDLE MakeEvent(LPCWSTR name = L"Local\\Event", BOOL manual = FALSE, BOOL set = FALSE) {
    return ::CreateEventW(nullptr, manual, set, name);
  }
  static HANDLE MakeSection(DWORD size = 8208, LPCWSTR name = L"Local\\Ring") {
    return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
  }
  static std::uint32_t* MapAll(HANDLE section) {
    return static_cast<std::uint32_t*>(::MapViewOfFile(section, FILE_MAP_ALL_ACCESS, 0, 0, 0));
  }

  PrivateSession session;
  LineProcess other{OBJECT_HOLDER};
};

TEST_F(NamedObjects, SecondMakerOfAMutexLearnsThatItExistsAndDoesNotOwnIt) {
  ASSERT_EQ(other.Ask("mutex Local\\KXTest 1"), "new");
  const OwnedHandle mutex(MakeMutex());  // the same name without its prefix
  EXPECT_NE(mutex.Get(), nullptr);
  EXPECT_EQ(mutex.Error(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(::WaitForSingleObject(mutex.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(NamedObjects, MutexOfAKilledOwnerIsAbandonedToTheNext) {
  ASSERT_EQ(other.Ask("mutex KXTest 1"), "new");
  const OwnedHandle mutex(MakeMutex());
  other.Kill();
  EXPECT_EQ(::WaitForSingleObject(mutex.Get(), 60000), WAIT_ABANDONED);
  EXPECT_EQ(::WaitForSingleObject(mutex.Get(), 0), WAIT_OBJECT_0) << "its owner may take it again";
}

TEST_F(NamedObjects, UnownedMutexGoesToWhoWaitsFirst) {
  const OwnedHandle mutex(MakeMutex(L"KXTest", FALSE));
  ASSERT_EQ(other.Ask("mutex KXTest 1"), "existing");
  EXPECT_EQ(::WaitForSingleObject(mutex.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(other.Ask("wait 0"), std::to_string(WAIT_TIMEOUT));
}

TEST_F(NamedObjects, ObjectDiesWithItsLastHolder) {
  ASSERT_EQ(other.Ask("section Local\\Ring 8208"), "new");
  ASSERT_EQ(other.Ask("write 7"), "7");
  OwnedHandle section(MakeSection());
  EXPECT_EQ(section.Error(), ERROR_ALREADY_EXISTS);
  other.Kill();
  section.Close();
  const OwnedHandle again(MakeSection());
  EXPECT_EQ(again.Error(), ERROR_SUCCESS);
  const auto* words = MapAll(again.Get());
  EXPECT_EQ(*words, 0u) << "a new section is zeroed";
  EXPECT_TRUE(::UnmapViewOfFile(words));
}

TEST_F(NamedObjects, SectionOutlivesItsMakerWhileAnotherHoldsIt) {
  ASSERT_EQ(other.Ask("section Local\\Ring 8208"), "new");
  ASSERT_EQ(other.Ask("write 7"), "7");
  const OwnedHandle section(MakeSection());
  other.Kill();
  const auto* words = MapAll(section.Get());
  EXPECT_EQ(*words, 7u);
  EXPECT_EQ(OwnedHandle(MakeSection()).Error(), ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(::UnmapViewOfFile(words));
}

TEST_F(NamedObjects, ViewKeepsItsBytesButNotTheNameAfterTheLastHandle) {
  OwnedHandle section(MakeSection());
  auto* words = MapAll(section.Get());
  *words = 5;
  section.Close();
  EXPECT_EQ(other.Ask("section Local\\Ring 8208"), "new");
  EXPECT_EQ(other.Ask("read"), "0");
  EXPECT_EQ(*words, 5u);
  EXPECT_TRUE(::UnmapViewOfFile(words));
  EXPECT_FALSE(::UnmapViewOfFile(words));
}

TEST_F(NamedObjects, ExistingSectionKeepsItsSizeWhateverIsAskedFor) {
  ASSERT_EQ(other.Ask("section Local\\Ring 100"), "new");
  const OwnedHandle section(MakeSection(20496));
  EXPECT_EQ(section.Error(), ERROR_ALREADY_EXISTS);
  auto* words = MapAll(section.Get());
  MEMORY_BASIC_INFORMATION info{};
  ASSERT_EQ(::VirtualQuery(words, &info, sizeof(info)), sizeof(info));
  EXPECT_EQ(info.RegionSize, 4096u) << "the view tells the true size in whole pages";
  EXPECT_EQ(info.BaseAddress, words);
  EXPECT_EQ(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 20496), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(::UnmapViewOfFile(words));
}

TEST_F(NamedObjects, ViewOfSomeBytesEndsWithTheirPage) {
  const OwnedHandle section(MakeSection(20496));
  auto* view = static_cast<char*>(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 5000));
  MEMORY_BASIC_INFORMATION info{};
  ASSERT_EQ(::VirtualQuery(view + 4100, &info, sizeof(info)), sizeof(info));
  EXPECT_EQ(info.AllocationBase, view);
  EXPECT_EQ(info.BaseAddress, view + 4096);
  EXPECT_EQ(info.RegionSize, 4096u);
  EXPECT_TRUE(::UnmapViewOfFile(view));
}

TEST_F(NamedObjects, NameOfAnotherTypeIsRefused) {
  ASSERT_EQ(other.Ask("section Local\\Thing 64"), "new");
  EXPECT_EQ(MakeEvent(L"Local\\Thing"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(MakeMutex(L"Thing"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  other.Kill();
  const OwnedHandle event(MakeEvent(L"Local\\Thing"));
  EXPECT_EQ(event.Error(), ERROR_SUCCESS) << "the name is free once the section is gone";
}

TEST_F(NamedObjects, AutoResetEventWakesOneWaitAndSignalsBeforeAWaitCountAsOne) {
  const OwnedHandle event(MakeEvent());
  ASSERT_EQ(other.Ask("event Local\\Event"), "existing");
  other.Say("wait 60000");
  EXPECT_TRUE(::SetEvent(event.Get()));
  EXPECT_EQ(other.Hear(), std::to_string(WAIT_OBJECT_0));
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);

  EXPECT_EQ(other.Ask("set"), "1");
  EXPECT_EQ(other.Ask("set"), "1");
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(NamedObjects, EventKeepsItsKindAndStateForLaterOpeners) {
  const OwnedHandle made(MakeEvent(L"Local\\Manual", TRUE, TRUE));
  const OwnedHandle opened(MakeEvent(L"Local\\Manual", FALSE, FALSE));
  EXPECT_EQ(opened.Error(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(::WaitForSingleObject(opened.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(::WaitForSingleObject(opened.Get(), INFINITE), WAIT_OBJECT_0) << "manual reset: stays set";
}

TEST_F(NamedObjects, WaitLastsItsTimeout) {
  const OwnedHandle event(MakeEvent());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 30), WAIT_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(NamedObjects, UnnamedObjectsWorkAndAreNotShared) {
  const OwnedHandle first(MakeEvent(nullptr, FALSE, TRUE));
  const OwnedHandle second(MakeEvent(nullptr));
  EXPECT_EQ(second.Error(), ERROR_SUCCESS);
  EXPECT_EQ(::WaitForSingleObject(first.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(::WaitForSingleObject(second.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(NamedObjects, NamesDifferInCaseAndInForeignLetters) {
  const OwnedHandle event(MakeEvent(L"Local\\\xC885\xB8CC"));
  ASSERT_NE(event.Get(), nullptr);
  EXPECT_EQ(OwnedHandle(MakeEvent(L"Local\\\xC885\xB8CC")).Error(), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(OwnedHandle(MakeEvent(L"Local\\\xC885\xB8CD")).Error(), ERROR_SUCCESS);
  EXPECT_EQ(OwnedHandle(MakeEvent(L"Local\\event")).Error(), ERROR_SUCCESS);
}

TEST_F(NamedObjects, WrongArgumentsAndHandlesAreErrors) {
  EXPECT_EQ(MakeSection(0), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(MakeEvent(L"Local\\a\\b"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_PATH_NOT_FOUND);
  const OwnedHandle event(MakeEvent());
  const OwnedHandle section(MakeSection());
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
  EXPECT_EQ(MapAll(event.Get()), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
}

}  // namespace
}  // namespace quillmark::test
