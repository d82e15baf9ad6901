// The client library with the worker's side of the rings in this process
// and with real workers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CommandTaker.h"
#include "Programs.h"
#include "platform/UniqueHandle.h"
#include "quillmark.hpp"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr auto Patience = 60s;

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

TEST_F(ClientAtWork, BarrierWaitsForAllCommandsAndKeepsHitsInOrder) {
  Client client;
  EXPECT_EQ(StatusOf([&] { client.Barrier(0ms); }), QM_NO_WORKER);
  CommandTaker worker;
  for (int i = 0; i < 200; ++i) client.Remove("spec" + std::to_string(i), Patience);
  client.Barrier(Patience);
  EXPECT_EQ(worker.Taken().size(), 200u);
  EXPECT_EQ(client.Version(Patience), QUILLMARK_VERSION);
  EXPECT_TRUE(Rest(client).empty()) << "a late reply is ignored";
  for (int i = 0; i < 2; ++i) {
    WriteHits(60);
    client.Barrier(Patience);
  }
  const std::vector<Record> records = Rest(client);
  ASSERT_EQ(records.size(), 120u);
  for (std::size_t i = 0; i < 120; ++i) EXPECT_EQ(records[i].cx, i % 60);
  EXPECT_EQ(StatusOf([&] { client.Remove(std::string("a\0b", 3)); }), QM_BAD_TEXT);
}

TEST_F(ClientAtWork, StalledWorkerIsDistinguishedFromNone) {
  Client client;
  EXPECT_EQ(StatusOf([&] { client.Barrier(50ms); }), QM_NO_WORKER);
  // A worker's mutex with another owner than the client's thread, and nobody behind it.
  const UniqueHandle mutex(::CreateMutexW(nullptr, TRUE, L"KXRQTLV1_Quillmark"));
  std::thread([&client] {
    EXPECT_EQ(StatusOf([&] { client.Barrier(50ms); }), QM_STALLED);
    EXPECT_EQ(StatusOf([&] { (void)client.Version(50ms); }), QM_STALLED);
    for (std::uint32_t unread = client.Look().unread_commands; unread < 64; ++unread) client.Clear(0ms);
    EXPECT_EQ(StatusOf([&] { client.Clear(50ms); }), QM_STALLED);
    EXPECT_EQ(client.Look().unread_commands, 64u);
  }).join();
}

// By the full ring, or by the client when nobody reads its records.
TEST_F(ClientAtWork, DroppedHitsAreCounted) {
  for (const auto& [rounds, hits] : {std::pair{1, 70}, {1025, 64}}) {  // the client keeps 1024 * 64
    Client client;
    const CommandTaker worker;
    for (int i = 0; i < rounds; ++i) {
      WriteHits(hits);
      (void)client.Look();
    }
    const std::vector<Record> records = Rest(client);
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0].kind, QM_DROPPED);
    EXPECT_EQ(records[0].count + records.size() - 1, static_cast<std::size_t>(rounds * hits));
    EXPECT_EQ(records.size() - 1, 64u) << "the newest remain";
    EXPECT_EQ(client.Look().dropped, records[0].count);
  }
}

TEST_F(ClientAtWork, OneClientReadsAndDiscardsEarlierHitsUnlessRequested) {
  const RawController holder;
  const CommandTaker worker;
  WriteHits(3);
  { EXPECT_EQ(Rest(*std::make_unique<Client>(true)).size(), 3u); }
  WriteHits(3);
  Client client;
  EXPECT_TRUE(Rest(client).empty());
  EXPECT_EQ(StatusOf([] { Client second; }), QM_BUSY);
  EXPECT_EQ(Control({"watch", "--timeout=1"}).code, 2);
  EXPECT_EQ(Control({"ping", "tool", "--timeout=60"}).code, 0);
  const std::vector<Record> records = Rest(client);
  ASSERT_THAT(Kinds(records), ElementsAre(QM_REPLY));
  EXPECT_EQ(records[0].Name(), "tool");
}

TEST_F(ClientAtWork, StartAndEndOfAWorkerAreReported) {
  Client client;
  EXPECT_FALSE(client.Look().worker_running);
  for (unsigned starts = 1; starts <= 2; ++starts) {
    Worker worker;
    client.Barrier(Patience);
    EXPECT_THAT(Kinds(Rest(client)), ElementsAre(QM_WORKER_STARTED)) << worker.Err();
    EXPECT_EQ(client.Look().worker_starts, starts);
    worker.Kill();
    EXPECT_THAT(Kinds(client.Read(Patience)), ElementsAre(QM_WORKER_GONE));
  }
  EXPECT_FALSE(client.Look().worker_running);
}

}  // namespace
}  // namespace quillmark::test
