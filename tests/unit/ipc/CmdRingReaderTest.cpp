#include "ipc/CmdRingReader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <set>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "unit/ipc/RingFixture.h"

namespace quillmark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CmdRingReaderTest : public testing::Test {
 protected:
  // Records what the callbacks are given.
  void Open() {
    ASSERT_TRUE(reader.Init(0));
    reader.SetHandlers(
        [this](const std::wstring& target, const std::wstring& name, const std::wstring& path, std::int32_t x,
               std::int32_t y, std::int32_t w, std::int32_t h, float edgeMin, float threshold) {
          specs.push_back({1, target, name, path, x, y, w, h, edgeMin, threshold});
          calls.push_back(L"spec " + name);
          readIndexDuringCalls.insert(controller.CommandWord(ReadIndex));
        },
        [this] { calls.push_back(L"clear"); },
        [this](const std::wstring& name, const std::wstring& path) {
          calls.push_back(L"remove " + name + L"," + path);
        });
  }
  // Fills the records with spec commands named after their numbers.
  void FillSpecs(std::uint32_t first, std::uint32_t end) {
    for (std::uint32_t record = first; record != end; ++record)
      controller.FillCommand(record, {.kind = 1, .name = std::to_wstring(record)});
  }
  void SetIndices(std::uint32_t written, std::uint32_t read) {
    controller.SetCommandWord(WriteIndex, written);
    controller.SetCommandWord(ReadIndex, read);
  }

  const PrivateSession& session = ProgramSession();
  RawController controller;
  CmdRingReader reader;
  std::vector<RawCommand> specs;
  std::vector<std::wstring> calls;
  std::set<std::uint32_t> readIndexDuringCalls;
};

TEST_F(CmdRingReaderTest, PassesTheNineValuesOfASpec) {
  Open();
  const RawCommand commands[] = {{1, std::wstring(16, L't'), std::wstring(31, L'n') + L'\xDFFF',
                                  std::wstring(64, L'p'), -1, 2, 3, 4, 0.75f, -0.5f},
                                 {1, L"", L"b\xD55C", L"p", INT32_MIN, INT32_MAX, 0, 0, 0.0f, 1.0f}};
  for (const RawCommand& command : commands) controller.Send(command);
  reader.Poll(0);
  EXPECT_TRUE(std::ranges::equal(specs, commands));
}

TEST_F(CmdRingReaderTest, RunsCommandsOnceInOrderAndSkipsUnknownKinds) {
  Open();
  controller.Send({.kind = 2, .name = L"a", .path = L"b"});
  controller.SendClear();
  for (const std::uint32_t unknown : {0u, 6u, 0x80000001u, 0xFFFFFFFFu}) controller.Send({.kind = unknown});
  controller.Send({.kind = 1, .name = L"c"});
  reader.Poll(0);
  reader.Poll(0);

  EXPECT_THAT(calls, ElementsAre(L"remove a,b", L"clear", L"spec c"));
  EXPECT_EQ(controller.PendingCommands(), 0u);
}

TEST_F(CmdRingReaderTest, TakesTheNewestPublishedRecords) {
  Open();
  const struct {
    const char* what;
    std::uint32_t written, read;
    bool signalled;
    std::uint32_t limit;
    std::uint32_t firstTaken, endTaken;
  } cases[] = {
      {"idle", 5, 5, false, 0, 5, 5},
      {"signal without a command", 5, 5, true, 0, 5, 5},
      {"command without a signal", 6, 5, false, 0, 5, 6},
      {"a full ring", 164, 100, true, 0, 100, 164},
      {"overrun by one", 265, 200, true, 0, 201, 265},
      {"overrun with a limit", 300, 200, true, 3, 236, 239},
      {"indices that wrap", 1, 0xFFFFFFFE, true, 0, 0xFFFFFFFE, 1},
      {"a limit below", 10, 5, true, 2, 5, 7},
      {"a limit above", 73, 10, true, 64, 10, 73},
      {"read index ahead", 5, 6, true, 0, 0xFFFFFFC5, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    calls.clear();
    readIndexDuringCalls.clear();
    SetIndices(c.written, c.read);
    FillSpecs(c.firstTaken, c.written);
    if (c.signalled) controller.SignalCommands();

    reader.Poll(c.limit);

    std::vector<std::wstring> expected;
    for (std::uint32_t n = c.firstTaken; n != c.endTaken; ++n)
      expected.push_back(L"spec " + std::to_wstring(n));
    EXPECT_EQ(calls, expected);
    EXPECT_EQ(controller.CommandWord(ReadIndex), c.endTaken);
    EXPECT_EQ(controller.CommandWord(WriteIndex), c.written);
    // All slots are freed at once, after the last call.
    const std::set<std::uint32_t> during = calls.empty() ? std::set<std::uint32_t>{} : std::set{c.read};
    EXPECT_EQ(readIndexDuringCalls, during);
  }
}

TEST_F(CmdRingReaderTest, ConsumesCommandsWhoseHandlersRaise) {
  ASSERT_TRUE(reader.Init(0));
  int raised = 0;
  reader.SetHandlers([&](auto&&...) { ++raised, throw std::runtime_error("spec"); },
                     [&] { ++raised, throw 1; }, [&](auto&&...) { ++raised, throw std::bad_alloc(); });
  for (const std::uint32_t kind : {1u, 2u, 3u}) controller.Send({.kind = kind});
  reader.Poll(0);
  EXPECT_EQ(raised, 3);
  EXPECT_EQ(controller.PendingCommands(), 0u);
}

TEST_F(CmdRingReaderTest, SignalsOnceWhenClosedAndThenPollsNothing) {
  Open();
  UniqueHandle event(MakeEvent(L"Local\\CmdRingEvent"));
  reader.Close();
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  reader.Close();
  EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);

  controller.SendClear();
  reader.Poll(0);
  EXPECT_THAT(calls, IsEmpty());
  EXPECT_EQ(controller.PendingCommands(), 1u);
}

TEST(CmdRingInitTest, ZeroesTheHeaderOnlyWhenNobodyHadTheEvent) {
  for (const bool eventFirst : {false, true}) {
    const PrivateSession session;
    UniqueHandle section(MakeSection(L"Local\\CmdRingMMF", RawController::CommandBytes));
    UniqueView view(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    auto* const words = static_cast<std::uint32_t*>(view.Get());
    std::fill_n(words, 5, 7u);
    const UniqueHandle event(eventFirst ? MakeEvent(L"Local\\CmdRingEvent") : nullptr);

    CmdRingReader reader;
    EXPECT_TRUE(reader.Init(0));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(words[i], eventFirst ? 7u : 0u) << i;
    EXPECT_EQ(words[4], 7u) << "a slot";
  }
}

TEST(CmdRingInitTest, FailsUntilTheObstacleIsGone) {
  const struct {
    const char* what;
    std::function<HANDLE()> make;
  } cases[] = {
      {"section too small", [] { return MakeSection(L"Local\\CmdRingMMF", 20480); }},
      {"section's name taken", [] { return MakeEvent(L"Local\\CmdRingMMF"); }},
      {"event's name taken", [] { return ::CreateMutexW(nullptr, FALSE, L"Local\\CmdRingEvent"); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const PrivateSession session;
    CmdRingReader reader;
    UniqueHandle obstacle(c.make());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(reader.Init(0));
    EXPECT_FALSE(reader.Init(70));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(70));
    reader.Poll(0);

    std::thread remover([&] { obstacle.Reset(); });
    EXPECT_TRUE(reader.Init(20'000));
    remover.join();
  }
}

TEST_F(CmdRingReaderTest, AnswersHeartbeatAndVersion) {
  ASSERT_TRUE(reader.Init(0));
  const std::wstring full(32, L'h');
  const auto now = [] {
    using namespace std::chrono;
    return static_cast<std::uint64_t>(floor<milliseconds>(system_clock::now()).time_since_epoch().count());
  };
  const struct {
    std::uint32_t kind;
    std::wstring text, reply;
  } cases[] = {
      {4, L"", L"HB"},
      {4, L"ping", L"ping"},
      {4, full, full.substr(0, 31)},
      {5, L"", L"__ver__:" QUILLMARK_VERSION},
  };
  for (const auto& c : cases) {
    controller.TakeHits();
    controller.Send({.kind = c.kind, .name = c.text});
    const std::uint64_t before = now();
    reader.Poll(0);
    const std::uint64_t after = now();

    const auto hits = controller.TakeHits();
    ASSERT_EQ(hits.size(), 1u);
    const RawHit& hit = hits[0];
    EXPECT_EQ(std::tie(hit.name, hit.cx, hit.cy, hit.w, hit.h, hit.sq, hit.edge),
              std::tuple(c.reply, 0, 0, 0, 0, 1.0f, 0.0f));
    EXPECT_TRUE(before <= hit.tsMs && hit.tsMs <= after) << hit.tsMs;
  }
}

}  // namespace
}  // namespace quillmark::test
