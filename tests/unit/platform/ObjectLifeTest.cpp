// Life and death of named objects among processes that are killed at any moment.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "support/LineProcess.h"
#include "support/PrivateSession.h"

namespace quillmark::layer {
namespace {

using test::LineProcess;

// Four processes open and close one section without a pause; one after the other is killed, or left to
// finish its rounds.
TEST(ObjectLife, KillsAtAnyMomentNeitherSplitNorSoilNorBlockAName) {
  const test::PrivateSession session;
  std::array<std::unique_ptr<LineProcess>, 4> churners;
  const auto start = [&](std::size_t index) {
    churners[index] = std::make_unique<LineProcess>(OBJECT_HOLDER);
    churners[index]->Say("churn Local\\Churned " + std::to_string(index) + " 200");
  };
  for (std::size_t i = 0; i < churners.size(); ++i) start(i);

  std::mt19937 random(11);
  int kills = 0, finished = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
  while (std::chrono::steady_clock::now() < end) {
    const std::size_t index = random() % churners.size();
    if (random() % 8 == 0) {
      ASSERT_EQ(churners[index]->Hear(), "ok");
      ++finished;
    } else {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));  // a random moment, no waiting
      churners[index]->Kill();
      const std::string last = churners[index]->Hear();
      ASSERT_TRUE(last.empty() || last == "ok") << last;
      ++kills;
    }
    start(index);
  }
  for (auto& churner : churners) churner.reset();
  EXPECT_GT(kills, 20);
  EXPECT_GT(finished, 0);

  const HANDLE section =
      ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, L"Local\\Churned");
  EXPECT_EQ(::GetLastError(), ERROR_SUCCESS) << "nobody holds it any more";
  ::CloseHandle(section);
}

TEST(ObjectLife, KilledWaiterTakesNoSignalWithIt) {
  const test::PrivateSession session;
  const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, L"Local\\Event");
  for (int round = 0; round < 50; ++round) {
    LineProcess first(OBJECT_HOLDER), second(OBJECT_HOLDER);
    ASSERT_EQ(first.Ask("event Local\\Event"), "existing");
    ASSERT_EQ(second.Ask("event Local\\Event"), "existing");
    first.Say("wait 10000");
    first.Kill();
    second.Say("wait 10000");
    ASSERT_TRUE(::SetEvent(event));
    ASSERT_EQ(second.Hear(), std::to_string(WAIT_OBJECT_0));
  }
  ::CloseHandle(event);
}

TEST(ObjectLife, StartedProgramDoesNotKeepItsParentsObjects) {
  const test::PrivateSession session;
  HANDLE section =
      ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, L"Local\\Section");
  const LineProcess child(OBJECT_HOLDER);  // started while the object is held
  ::CloseHandle(section);
  section = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, L"Local\\Section");
  EXPECT_EQ(::GetLastError(), ERROR_SUCCESS);
  ::CloseHandle(section);
}

TEST(ObjectLife, MutexOfAnEndedThreadIsAbandoned) {
  const test::PrivateSession session;
  HANDLE mutex = nullptr;
  std::thread([&] { mutex = ::CreateMutexW(nullptr, TRUE, L"KXTest"); }).join();
  EXPECT_EQ(::WaitForSingleObject(mutex, 5000), WAIT_ABANDONED);
  DWORD other = 0;
  std::thread([&] { other = ::WaitForSingleObject(mutex, 0); }).join();
  EXPECT_EQ(other, WAIT_TIMEOUT) << "owned by this thread now";
  ::CloseHandle(mutex);
}

}  // namespace
}  // namespace quillmark::layer
