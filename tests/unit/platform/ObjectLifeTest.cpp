// Named objects while processes and threads that hold them are killed.
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

class ObjectLife : public testing::Test {
 protected:
  static HANDLE MakeSection() {
    return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, L"Local\\Section");
  }
  const test::PrivateSession session;
};

// Four processes keep opening and closing one section; each is killed at random, or left to finish its
// rounds.
TEST_F(ObjectLife, SurvivesHoldersKilledAtAnyMoment) {
  std::array<std::unique_ptr<LineProcess>, 4> churners;
  const auto start = [&](std::size_t index) {
    churners[index] = std::make_unique<LineProcess>(OBJECT_HOLDER);
    churners[index]->Say("churn Local\\Section " + std::to_string(index) + " 200");
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
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));  // any moment will do
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

  ::CloseHandle(MakeSection());
  EXPECT_EQ(::GetLastError(), ERROR_SUCCESS) << "nobody holds it any more";
}

TEST_F(ObjectLife, AKilledWaiterConsumesNoSignal) {
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

TEST_F(ObjectLife, AStartedProgramDoesNotHoldItsParentsObjects) {
  const HANDLE section = MakeSection();
  const LineProcess child(OBJECT_HOLDER);
  ::CloseHandle(section);
  ::CloseHandle(MakeSection());
  EXPECT_EQ(::GetLastError(), ERROR_SUCCESS);
}

}  // namespace
}  // namespace quillmark::layer
