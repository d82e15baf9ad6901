#include "ipc/HitRing.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <functional>
#include <thread>

#include "unit/ipc/RingFixture.h"

namespace quillmark::test {
namespace {

class HitRingTest : public testing::Test {
 protected:
  void Write(const std::wstring& name) { ring.Write(name, 1, 2, 3, 4, 0.5f, 0.25f, 5); }
  void SetIndices(std::uint32_t written, std::uint32_t read) {
    controller.SetHitWord(WriteIndex, written);
    controller.SetHitWord(ReadIndex, read);
  }

  PrivateSession session;
  LogReader log;
  RawController controller;
  HitRing ring;
};

TEST_F(HitRingTest, WritesTheBytesOfTheProtocolAndNoOthers) {
  std::fill_n(controller.Hits() + 16, RawController::HitBytes - 16, std::byte{0xAA});
  controller.SetHitWord(12, 0xAAAAAAAA);
  auto expected = BytesOf(controller.Hits(), RawController::HitBytes);

  ring.Write(L"b\xD55C", -2, 0x01020304, 30, 40, 0.75f, -0.5f, 0x0102030405060708);

  PutAt(expected, 0, std::uint32_t{1});
  PutAt(expected, 16, std::uint64_t{0x0102030405060708});
  PutAt(expected, 24, std::int32_t{-2});
  PutAt(expected, 28, std::int32_t{0x01020304});
  PutAt(expected, 32, std::int32_t{30});
  PutAt(expected, 36, std::int32_t{40});
  PutAt(expected, 48, 0.75f);
  PutAt(expected, 52, -0.5f);
  std::fill_n(expected.begin() + 56, 64, std::byte{0});
  PutAt(expected, 56, std::uint16_t{'b'});
  PutAt(expected, 58, std::uint16_t{0xD55C});
  EXPECT_EQ(BytesOf(controller.Hits(), RawController::HitBytes), expected);
  EXPECT_TRUE(controller.TakeHitSignal());
  EXPECT_EQ(log.Count("] Init begin (size=8208)"), 1u);
  EXPECT_EQ(log.Count("] Init success (ring=0x"), 1u);
  EXPECT_EQ(log.Count("] hdr w=0 r=0 depth=0"), 1u);
  EXPECT_EQ(log.Count("] after w=1 r=0 depth=1"), 1u);
}

TEST_F(HitRingTest, Keeps31UnitsOfAName) {
  const std::wstring longer = std::wstring(30, L'l') + L"abcdefghij";
  for (const std::wstring& name : {std::wstring(), longer.substr(0, 31), longer}) {
    Write(name);
    EXPECT_EQ(controller.TakeHits().at(0).name, name.substr(0, 31));
  }
}

TEST_F(HitRingTest, RefusesHitsWhile64AreUnread) {
  ASSERT_TRUE(ring.EnsureInit());
  const struct {
    std::uint32_t written, read;
    bool accepted;
  } cases[] = {
      {63, 0, true},         {64, 0, false},         {0xFFFFFFFF, 0xFFFFFFFD, true},
      {5, 0xFFFFFFC6, true}, {5, 0xFFFFFFC5, false}, {10, 11, false},
  };
  std::uint32_t dropped = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.written);
    SetIndices(c.written, c.read);
    const auto before = BytesOf(controller.Hits() + 16, RawController::HitBytes - 16);
    controller.TakeHitSignal();

    Write(L"hit " + std::to_wstring(c.written));

    EXPECT_EQ(controller.HitWord(WriteIndex), c.written + (c.accepted ? 1 : 0));
    EXPECT_EQ(controller.HitWord(ReadIndex), c.read);
    EXPECT_EQ(controller.TakeHitSignal(), c.accepted);
    if (c.accepted) {
      EXPECT_EQ(controller.ReadHit(c.written & 63).name, L"hit " + std::to_wstring(c.written));
    } else {
      EXPECT_EQ(BytesOf(controller.Hits() + 16, RawController::HitBytes - 16), before);
      ++dropped;
    }
    EXPECT_EQ(controller.HitWord(DroppedCount), dropped);
  }
  EXPECT_EQ(log.Count("] FULL(before) w=5 r=4294967237 dropped=2"), 1u);
}

TEST_F(HitRingTest, LogsEveryRefusalAndTheHitOfOneInTwenty) {
  // Set before the ring opens, which must leave the header alone.
  SetIndices(64, 0);
  controller.SetHitWord(DroppedCount, 40);
  for (int n = 0; n < 22; ++n) ring.Write(std::wstring(40, L'n'), -1, 2, 3, 4, 0.5f, 1.0f, 5);
  EXPECT_EQ(log.Count("] FULL(before) w=64 r=0 dropped="), 22u);
  const std::string drop = "] DROP name=" + std::string(40, 'n') + " cx=-1 cy=2 w=3 h=4 sq=0.5 edge=1";
  EXPECT_EQ(log.Count(drop), 2u);
  EXPECT_EQ(controller.HitWord(DroppedCount), 62u);
}

TEST_F(HitRingTest, LogsTheIndicesOfOneCallInTwoHundred) {
  for (int n = 0; n < 401; ++n) {
    Write(L"hit");
    controller.TakeHits();
  }
  EXPECT_EQ(log.Count("] hdr w="), 3u);
  EXPECT_EQ(log.Count("] hdr w=200 r=200 depth=0"), 1u);
  EXPECT_EQ(log.Count("] after w=401 r=400 depth=1"), 1u);
}

TEST_F(HitRingTest, ServesManyThreadsAtOnce) {
  constexpr int Threads = 4, Each = 20;  // more than the ring holds
  std::vector<std::thread> writers;
  for (int t = 0; t < Threads; ++t) {
    writers.emplace_back([this, t] {
      for (int n = 1; n <= Each; ++n) ring.Write(L"thread " + std::to_wstring(t), n, -n, t, 0, 0, 0, 5);
    });
  }
  for (std::thread& writer : writers) writer.join();
  int last[Threads] = {};
  const std::vector<RawHit> hits = controller.TakeHits();
  for (const RawHit& hit : hits) {
    EXPECT_EQ(hit.name, L"thread " + std::to_wstring(hit.w));
    EXPECT_EQ(hit.cy, -hit.cx);
    EXPECT_EQ(hit.cx, ++last[hit.w]);
  }
  EXPECT_EQ(hits.size(), 64u);
  EXPECT_EQ(controller.HitWord(DroppedCount), 16u);
  EXPECT_EQ(log.Count("Init begin"), 1u);
}

TEST(HitRingInitTest, FailsForGood) {
  const struct {
    std::function<HANDLE()> makeObstacle;
    const char* line;
  } cases[] = {
      {[] { return MakeEvent(L"Local\\HitRingMMF"); }, "] CreateFileMappingW failed, err=6"},
      {[] { return MakeSection(L"Local\\HitRingMMF", 8192); }, "] MapViewOfFile failed, err=24"},
      {[] { return ::CreateMutexW(nullptr, FALSE, L"Local\\HitRingEvent"); }, "] CreateEventW failed, err=6"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    PrivateSession session;
    LogReader log;
    HitRing ring;
    UniqueHandle obstacle(c.makeObstacle());
    EXPECT_FALSE(ring.EnsureInit());
    obstacle.Reset();
    for (int n = 0; n < 2; ++n) ring.Write(L"lost", 0, 0, 0, 0, 0, 0, 0);
    EXPECT_FALSE(ring.EnsureInit());
    EXPECT_EQ(log.Count("] Init begin (size=8208)"), 1u);
    EXPECT_EQ(log.Count(c.line), 1u);
    EXPECT_EQ(log.Count("] WARN: EnsureInit failed (ring=nullptr)"), 1u);
  }
}

}  // namespace
}  // namespace quillmark::test
