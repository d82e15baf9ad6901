#include "ipc/CmdRingReader.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <set>
#include <stdexcept>
#include <thread>

#include "ipc/ProductVersion.h"
#include "ipc/WallClock.h"
#include "unit/ipc/RingFixture.h"

namespace quillmark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CmdRingReaderTest : public testing::Test {
 protected:
  // Notes what the callbacks were given.
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
  // One spec command for each record of the range, named after it.
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

TEST_F(CmdRingReaderTest, HandsOnTheNineValuesOfASpec) {
  Open();
  const std::wstring target(16, L't'), name = std::wstring(31, L'n') + L'\xDFFF', path(64, L'p');
  controller.SendSpec(target, name, path, -1, 2, 3, 4, 0.75f, -0.5f);
  controller.SendSpec(L"", L"b\xD55C", L"p", INT32_MIN, INT32_MAX, 0, 0, 0.0f, 1.0f);
  reader.Poll(0);

  ASSERT_EQ(specs.size(), 2u);
  EXPECT_EQ(specs[0].target, target);
  EXPECT_EQ(specs[0].name, name);
  EXPECT_EQ(specs[0].path, path);
  EXPECT_THAT((std::vector{specs[0].x, specs[0].y, specs[0].width, specs[0].height}),
              ElementsAre(-1, 2, 3, 4));
  EXPECT_EQ(specs[0].edgeMin, 0.75f);
  EXPECT_EQ(specs[0].threshold, -0.5f);
  EXPECT_EQ(specs[1].target, L"");
  EXPECT_EQ(specs[1].name, L"b\xD55C");
  EXPECT_EQ(specs[1].path, L"p");
  EXPECT_EQ(specs[1].x, INT32_MIN);
  EXPECT_EQ(specs[1].y, INT32_MAX);
}

TEST_F(CmdRingReaderTest, RunsEachKindOnceInOrder) {
  Open();
  controller.Send({.kind = 2, .name = L"a", .path = L"b"});
  controller.SendClear();
  for (const std::uint32_t unknown : {0u, 6u, 0x80000001u, 0xFFFFFFFFu}) controller.Send({.kind = unknown});
  controller.SendSpec(L"", L"c", L"", 0, 0, 0, 0, 0, 0);
  reader.Poll(0);
  reader.Poll(0);

  EXPECT_THAT(calls, ElementsAre(L"remove a,b", L"clear", L"spec c"));
  EXPECT_EQ(controller.PendingCommands(), 0u);
}

TEST_F(CmdRingReaderTest, TakesThePublishedRecords) {
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
    // The slots are freed all at once, behind the last call.
    const std::set<std::uint32_t> during = calls.empty() ? std::set<std::uint32_t>{} : std::set{c.read};
    EXPECT_EQ(readIndexDuringCalls, during);
  }
}

TEST_F(CmdRingReaderTest, ConsumesWhatItsHandlersMissOrRefuse) {
  ASSERT_TRUE(reader.Init(0));
  const auto sendAll = [this] {
    controller.SendSpec(L"", L"a", L"", 0, 0, 0, 0, 0, 0);
    controller.SendRemove(L"a");
    controller.SendClear();
  };
  sendAll();
  reader.Poll(0);
  EXPECT_EQ(controller.PendingCommands(), 0u);

  int raised = 0;
  reader.SetHandlers([&](auto&&...) { ++raised, throw std::runtime_error("spec"); },
                     [&] { ++raised, throw 1; }, [&](auto&&...) { ++raised, throw std::bad_alloc(); });
  sendAll();
  reader.Poll(0);
  EXPECT_EQ(raised, 3);
  EXPECT_EQ(controller.PendingCommands(), 0u);
}

TEST_F(CmdRingReaderTest, ClosesOnceAndThenPollsNothing) {
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

TEST_F(CmdRingReaderTest, StaysInsideItsFieldsWhileTheControllerWritesThem) {
  Open();
  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (std::uint32_t n = 0; !done; ++n) {
      controller.SetCommandWord(16, 1 + n % 3);
      for (std::size_t offset = 8; offset < 232; offset += 4) {
        controller.SetCommandWord(16 + offset, n % 2 == 0 ? 0 : 0x00410041);
      }
    }
  });
  for (int n = 0; n < 2000 || specs.empty(); ++n) {  // however late the writer begins
    SetIndices(1, 0);
    reader.Poll(0);
  }
  done = true;
  writer.join();
  for (const RawCommand& spec : specs) {
    EXPECT_LE(spec.target.size(), 16u);
    EXPECT_LE(spec.name.size(), 32u);
    EXPECT_LE(spec.path.size(), 64u);
  }
}

TEST(CmdRingInitTest, ZeroesTheHeaderOnlyWhenNobodyHadTheEvent) {
  const struct {
    const char* what;
    bool eventFirst;
    std::uint32_t after;
  } cases[] = {{"section only", false, 0}, {"section and event", true, 7}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PrivateSession session;
    UniqueHandle section(MakeSection(L"Local\\CmdRingMMF", RawController::CommandBytes));
    UniqueView view(::MapViewOfFile(section.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    auto* const words = static_cast<std::uint32_t*>(view.Get());
    std::fill_n(words, 5, 7u);
    UniqueHandle event;
    if (c.eventFirst) event.Reset(MakeEvent(L"Local\\CmdRingEvent"));

    CmdRingReader reader;
    EXPECT_TRUE(reader.Init(0));
    EXPECT_EQ(std::vector<std::uint32_t>(words, words + 4), std::vector<std::uint32_t>(4, c.after));
    EXPECT_EQ(words[4], 7u);  // a slot
  }
}

bool MakesNew(HANDLE handle) {
  const bool isNew = handle != nullptr && ::GetLastError() != ERROR_ALREADY_EXISTS;
  const UniqueHandle owner(handle);
  return isNew;
}

TEST(CmdRingInitTest, FailsWithoutHoldingAnything) {
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
    PrivateSession session;
    CmdRingReader reader;
    UniqueHandle obstacle(c.make());
    EXPECT_FALSE(reader.Init(0));
    reader.Poll(0);
    obstacle.Reset();
    EXPECT_TRUE(MakesNew(MakeSection(L"Local\\CmdRingMMF", 64)));
    EXPECT_TRUE(MakesNew(MakeEvent(L"Local\\CmdRingEvent")));
  }
}

TEST(CmdRingInitTest, KeepsTryingUntilItsTimeIsOver) {
  PrivateSession session;
  UniqueHandle obstacle(::CreateMutexW(nullptr, FALSE, L"Local\\CmdRingEvent"));
  CmdRingReader reader;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(reader.Init(120));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(120));

  std::thread remover([&] { obstacle.Reset(); });
  EXPECT_TRUE(reader.Init(20'000));
  remover.join();
}

TEST_F(CmdRingReaderTest, AnswersHeartbeatAndVersion) {
  ASSERT_TRUE(reader.Init(0));
  const std::wstring full(32, L'h');
  const std::wstring version = L"__ver__:" + GetProductVersionString();
  const struct {
    std::uint32_t kind;
    std::wstring text, reply;
  } cases[] = {
      {4, L"", L"HB"},
      {4, L"ping", L"ping"},
      {4, full, full.substr(0, 31)},
      {5, L"", version.substr(0, 31)},
  };
  for (const auto& c : cases) {
    controller.TakeHits();
    controller.Send({.kind = c.kind, .name = c.text});
    const std::uint64_t before = WallClockMs();
    reader.Poll(0);
    const std::uint64_t after = WallClockMs();

    const auto hits = controller.TakeHits();
    ASSERT_EQ(hits.size(), 1u);
    const RawHit& hit = hits[0];
    EXPECT_EQ(hit.name, c.reply);
    EXPECT_THAT((std::vector{hit.cx, hit.cy, hit.w, hit.h}), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(hit.sq, 1.0f);
    EXPECT_EQ(hit.edge, 0.0f);
    EXPECT_GE(hit.tsMs, before);
    EXPECT_LE(hit.tsMs, after);
  }
}

TEST(WallClock, CountsFromTheUnixEpoch) {
  const auto now = [] {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
  };
  const std::uint64_t before = now(), read = WallClockMs(), after = now();
  EXPECT_LE(before, read);
  EXPECT_GE(after, read);
}

}  // namespace
}  // namespace quillmark::test
