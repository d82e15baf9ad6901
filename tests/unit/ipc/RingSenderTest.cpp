#include "ipc/RingSender.h"

#include <gmock/gmock.h>

#include <tuple>
#include <utility>

#include "unit/ipc/RingFixture.h"

namespace quillmark::test {
namespace {

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

TEST_F(RingSenderTest, WritesAllFieldsOfAHit) {
  const auto sent = Sent({{L"button", -1, 2, 3, 4, 0.5f, 0.25f, Now, 100}});
  ASSERT_EQ(sent.size(), 1u);
  const RawHit& hit = sent[0];
  EXPECT_EQ(std::tie(hit.name, hit.cx, hit.cy, hit.w, hit.h, hit.sq, hit.edge, hit.tsMs),
            std::tuple(L"button", -1, 2, 3, 4, 0.5f, 0.25f, Now));
}

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
