// The client library with the worker's side of the rings in this process, with a stand-in, and with real
// workers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CommandTaker.h"
#include "Programs.h"
#include "platform/UniqueHandle.h"
#include "quillmark.hpp"
#include "support/Eventually.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr auto Patience = 60s;

// Looks like a worker from outside, but does nothing.
class StandIn {
 public:
  StandIn() {
    std::promise<void> ready;
    thread = std::thread([&ready, end = finish.get_future()] {
      const UniqueHandle mutex(::CreateMutexW(nullptr, TRUE, L"KXRQTLV1_Quillmark"));
      WNDCLASSW windowClass{};
      windowClass.lpfnWndProc = ::DefWindowProcW;
      windowClass.lpszClassName = L"DupMsgSinkClass";
      ::RegisterClassW(&windowClass);
      const HWND window = ::CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, nullptr,
                                            nullptr, nullptr, nullptr);
      EXPECT_NE(window, nullptr);
      ready.set_value();
      end.wait();
      ::DestroyWindow(window);
    });
    ready.get_future().wait();
  }
  ~StandIn() {
    finish.set_value();
    thread.join();
  }

 private:
  std::promise<void> finish;
  std::thread thread;
};

qm_status StatusOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Error& error) {
    EXPECT_STRNE(error.what(), "");
    return error.Status();
  }
  return QM_OK;
}

class ClientAtWork : public testing::Test {
 protected:
  static void WriteHits(int count) {
    for (int i = 0; i < count; ++i) WriteHit(L"hit", i, 2, 30, 40, 0.5f, 0.25f, 1700000000123u);
  }
  // All records that can be read without waiting.
  static std::vector<Record> Rest(Client& client) {
    std::vector<Record> all;
    for (auto some = client.Read(0ms); !some.empty(); some = client.Read(0ms)) {
      all.insert(all.end(), some.begin(), some.end());
    }
    return all;
  }
  static std::vector<int> Kinds(const std::vector<Record>& records) {
    std::vector<int> kinds;
    for (const Record& record : records) kinds.push_back(record.kind);
    return kinds;
  }

  const PrivateSession session;
};

TEST_F(ClientAtWork, BarrierWaitsForAllCommandsAndIgnoresLateReplies) {
  Client client;
  EXPECT_EQ(StatusOf([&] { client.Barrier(0ms); }), QM_NO_WORKER);
  CommandTaker worker;
  for (int i = 0; i < 200; ++i) client.Remove("spec" + std::to_string(i), Patience);
  client.Barrier(Patience);
  EXPECT_EQ(worker.Taken().size(), 200u);
  EXPECT_EQ(client.Version(Patience), QUILLMARK_VERSION);
  EXPECT_TRUE(Rest(client).empty());
  EXPECT_EQ(StatusOf([&] { client.Remove(std::string("a\0b", 3)); }), QM_BAD_TEXT);
}

TEST_F(ClientAtWork, BarrierKeepsHitsInOrder) {
  Client client;
  CommandTaker worker;
  for (int i = 0; i < 2; ++i) {
    WriteHits(60);
    client.Barrier(Patience);
  }
  const std::vector<Record> records = Rest(client);
  ASSERT_EQ(records.size(), 120u);
  for (std::size_t i = 0; i < 120; ++i) EXPECT_EQ(records[i].cx, i % 60);
}

TEST_F(ClientAtWork, StalledWorkerIsDistinguishedFromNone) {
  Client client;
  EXPECT_EQ(StatusOf([&] { client.Barrier(50ms); }), QM_NO_WORKER);
  const StandIn stalled;
  EXPECT_EQ(StatusOf([&] { client.Barrier(50ms); }), QM_STALLED);
  EXPECT_EQ(StatusOf([&] { (void)client.Version(50ms); }), QM_STALLED);
  for (std::uint32_t unread = client.Look().unread_commands; unread < 64; ++unread) client.Clear(0ms);
  EXPECT_EQ(StatusOf([&] { client.Clear(50ms); }), QM_STALLED);
  EXPECT_EQ(client.Look().unread_commands, 64u);
}

TEST_F(ClientAtWork, DroppedHitsAreCounted) {
  Client client;
  const CommandTaker worker;
  WriteHits(70);
  const std::vector<Record> records = Rest(client);
  ASSERT_EQ(records.size(), 65u);
  EXPECT_EQ(records[0].kind, QM_DROPPED);
  EXPECT_EQ(records[0].count, 6u);
  EXPECT_EQ(client.Look().dropped, 6u);
}

TEST_F(ClientAtWork, ClientThatNeverReadsDropsTheOldestHits) {
  Client client;
  const CommandTaker worker;
  constexpr int Rounds = 1025;  // of 64 hits: 64 more than the client keeps
  for (int i = 0; i < Rounds; ++i) {
    WriteHits(64);
    (void)client.Look();
  }
  const std::vector<Record> records = Rest(client);
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records[0].kind, QM_DROPPED);
  EXPECT_EQ(records[0].count + records.size() - 1, std::size_t{64} * Rounds);
  EXPECT_EQ(client.Look().dropped, records[0].count);
}

TEST_F(ClientAtWork, EarlierHitsAreDiscardedUnlessRequested) {
  const RawController holder;
  const CommandTaker worker;
  WriteHits(3);
  { EXPECT_EQ(Rest(*std::make_unique<Client>(true)).size(), 3u); }
  WriteHits(3);
  EXPECT_TRUE(Rest(*std::make_unique<Client>()).empty());
}

TEST_F(ClientAtWork, OnlyOneClientReadsWhileTheControlToolCanStillPing) {
  Client client;
  const CommandTaker worker;
  EXPECT_EQ(StatusOf([] { Client second; }), QM_BUSY);
  EXPECT_EQ(Control({"watch", "--timeout=1"}).code, 2);
  EXPECT_EQ(Control({"ping", "tool", "--timeout=60"}).out.find("tool in "), 0u);
  const std::vector<Record> records = Rest(client);
  ASSERT_THAT(Kinds(records), ElementsAre(QM_REPLY));
  EXPECT_EQ(records[0].Name(), "tool");
}

TEST_F(ClientAtWork, EndStartAndReplacementOfAWorkerAreReported) {
  Client client;
  EXPECT_FALSE(client.Look().worker_running);
  auto worker = std::make_unique<StandIn>();
  EXPECT_THAT(Kinds(client.Read(Patience)), ElementsAre(QM_WORKER_STARTED));
  EXPECT_TRUE(client.Look().worker_running);
  worker.reset();
  worker = std::make_unique<StandIn>();
  EXPECT_THAT(Kinds(client.Read(Patience)), ElementsAre(QM_WORKER_STARTED));
  EXPECT_EQ(client.Look().worker_starts, 2u);
  worker.reset();
  EXPECT_THAT(Kinds(client.Read(Patience)), ElementsAre(QM_WORKER_GONE));
}

TEST_F(ClientAtWork, RealWorkerStartsDespiteTheProbeAndItsDeathIsReported) {
  Client client;
  for (int round = 0; round < 2; ++round) {
    Worker worker;
    const auto records = [&] {
      client.Barrier(Patience);
      return Rest(client);
    }();
    EXPECT_THAT(Kinds(records), ElementsAre(QM_WORKER_STARTED)) << worker.Err();
    worker.Kill();
    EXPECT_THAT(Kinds(client.Read(Patience)), ElementsAre(QM_WORKER_GONE));
  }
}

}  // namespace
}  // namespace quillmark::test
