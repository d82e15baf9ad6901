#include "ipc/HitRing.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <functional>
#include <thread>
#include <utility>

#include "ipc/RingSender.h"
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

constexpr std::uint64_t Now = 1'763'200'000'000;

HitRecord Hit(const std::wstring& name, std::int32_t cx, std::uint64_t atMs, float sq = 0.9f) {
  HitRecord hit;
  hit.name = name;
  hit.cx = cx;
  hit.w = hit.h = 50;  // a tolerance of 5 pixels
  hit.sq = sq;
  hit.tsMs = Now + atMs;
  return hit;
}

class RingSenderTest : public testing::Test {
 protected:
  RingSenderTest() { controller.TakeHits(); }

  // What reaches the ring, in order.
  std::vector<RawHit> Sent(const std::vector<HitRecord>& hits) {
    RingSender sender;
    return Sent(sender, hits);
  }
  std::vector<RawHit> Sent(RingSender& sender, const std::vector<HitRecord>& hits) {
    for (const HitRecord& hit : hits) sender.Enqueue(hit);
    sender.Enqueue(Hit(L"end", 0, 0));
    sender.Start();
    std::vector<RawHit> sent;
    const auto end = controller.WaitForHit([&](const RawHit& hit) {
      sent.push_back(hit);
      return hit.name == L"end";
    });
    EXPECT_TRUE(end.has_value());
    if (end) sent.pop_back();
    return sent;
  }

  const PrivateSession& session = ProgramSession();
  RawController controller;
};

TEST_F(RingSenderTest, ToleratesMovesByATenthOfTheLongerSide) {
  const struct {
    std::int32_t w, h, dx, dy;
    bool accepted;
  } cases[] = {
      {10, 10, 3, 0, false},  {10, 10, 4, 0, true},     {10, 10, 0, -3, false},
      {10, 10, 0, -4, true},  {200, 10, 12, 12, false}, {200, 10, -13, 0, true},
      {75, 40, 7, -7, false}, {75, 40, 8, 0, true},     {40, 75, -7, 7, false},
      {0, 0, 3, 3, false},    {-5, -5, 4, 0, true},     {119, 1, 11, 0, false},
      {119, 1, 12, 0, true},  {120, 1, 12, 0, false},   {INT32_MAX, 1, INT32_MIN, 0, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << " moved " << c.dx << "," << c.dy);
    HitRecord first = Hit(L"a", c.dx == INT32_MIN ? 1 : 0, 0), second = Hit(L"a", c.dx, 149);
    first.w = second.w = c.w;
    first.h = second.h = c.h;
    second.cy = c.dy;
    EXPECT_EQ(Sent({first, second}).size(), c.accepted ? 2u : 1u);
  }
}

TEST_F(RingSenderTest, SuppressesRepetitionsForAWindow) {
  constexpr float Same = 0.95f;
  const struct {
    const char* what;
    const wchar_t* name;
    std::uint64_t windowMs;
    std::int32_t dx;
    std::int64_t laterMs;
    float sq;
    bool accepted;
  } cases[] = {
      {"default window", L"a", 0, 5, 149, Same, false},
      {"after the default window", L"a", 0, 5, 150, Same, true},
      {"moved", L"a", 0, 6, 0, Same, true},
      {"the fast name's window", L"T1", 0, 0, 29, Same, false},
      {"after the fast name's window", L"T1", 0, 0, 30, Same, true},
      {"a longer name is not fast", L"T11", 0, 0, 30, Same, false},
      {"own window", L"T1", 500, 0, 499, Same, false},
      {"after the own window", L"T1", 500, 0, 500, Same, true},
      {"clearly weaker, elsewhere", L"a", 0, 100, 299, 0.90f, false},
      {"clearly weaker, later", L"a", 0, 100, 300, 0.90f, true},
      {"weaker by the margin exactly", L"a", 0, 100, 299, Same - 0.02f, false},
      {"a little weaker, elsewhere", L"a", 0, 100, 200, 0.94f, true},
      {"clearly weaker, after a short own window", L"a", 10, 0, 200, 0.90f, false},
      {"clock stepped back, same place", L"a", 0, 0, -60'000, Same, false},
      {"clock stepped back, weaker", L"a", 0, 100, -60'000, 0.90f, false},
      {"clock stepped back, elsewhere", L"a", 0, 100, -60'000, Same, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    HitRecord second = Hit(c.name, c.dx, static_cast<std::uint64_t>(c.laterMs), c.sq);
    second.dedupWindowMs = c.windowMs;
    EXPECT_EQ(Sent({Hit(c.name, 0, 0, Same), second}).size(), c.accepted ? 2u : 1u);
  }
}

TEST_F(RingSenderTest, ComparesWithTheLastAcceptedHitOfTheName) {
  const auto sent = Sent({Hit(L"a", 0, 0), Hit(L"b", 0, 0), Hit(L"a", 4, 100), Hit(L"a", 8, 140),
                          Hit(L"a", 8, 149), Hit(L"a", 8, 290), Hit(L"b", 0, 150)});
  std::vector<std::pair<std::wstring, std::uint64_t>> seen;
  for (const RawHit& hit : sent) seen.emplace_back(hit.name, hit.tsMs - Now);
  using testing::Pair;
  EXPECT_THAT(seen, testing::ElementsAre(Pair(L"a", 0), Pair(L"b", 0), Pair(L"a", 140), Pair(L"a", 290),
                                         Pair(L"b", 150)));
}

TEST_F(RingSenderTest, StopIsIdempotentAndDropsUnwrittenHits) {
  RingSender sender;
  sender.Stop();
  sender.Start();
  sender.Stop();
  sender.Stop();
  sender.Enqueue(Hit(L"dropped", 0, 0));
  sender.Stop();
  const auto sent = Sent(sender, {Hit(L"kept", 0, 0)});
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].name, L"kept");
}

// All senders of the process share a count, so the first line may come late.
TEST_F(RingSenderTest, LogsOneSuppressionInAHundred) {
  LogReader log;
  RingSender sender;
  for (int n = 0; n <= 10'100; ++n) sender.Enqueue(Hit(L"a", 0, 0));
  EXPECT_EQ(log.Count("[RingSender] dedupe drop"), 101u);
}

}  // namespace
}  // namespace quillmark::test
