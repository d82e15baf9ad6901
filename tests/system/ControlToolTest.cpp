// The control tool as a process, with the worker's side of both rings in this one.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CommandTaker.h"
#include "Programs.h"
#include "ipc/HitRing.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

// Long enough for a busy machine.
const std::string Patient = "--timeout=60";

class ControlTool : public testing::Test {
 protected:
  void StartWorker() { worker = std::make_unique<CommandTaker>(); }
  std::uint32_t UnreadHits() const { return rings.HitWord(WriteIndex) - rings.HitWord(ReadIndex); }
  static Outcome Ping(const std::string& text = "HB") { return Control({"ping", text, Patient}); }

  const PrivateSession session;
  RawController rings;  // shows the bytes and keeps the rings alive
  std::unique_ptr<CommandTaker> worker;
};

TEST_F(ControlTool, CommandsReachTheWorkerWithEveryField) {
  StartWorker();
  EXPECT_EQ(Control({"add", "--target", "계산기.exe", "--name", "😀:fps10", "--path", "b/ä.png", "--roi",
                     "-5,-6,70,80", "--edge-min", "0.5", "--threshold", "0.25", Patient})
                .code,
            0);
  EXPECT_EQ(Control({"add", "--target=t", "--name=n", "--path=p", "--roi=1,2,3,4", Patient}).code, 0);
  EXPECT_EQ(Control({"remove", "ä b", "--json", Patient}).out,
            "{\"type\":\"sent\",\"command\":\"remove\",\"name\":\"ä b\"}\n");
  EXPECT_EQ(Control({"clear", Patient}).code, 0);
  const std::vector<std::wstring> expected{
      L"spec 계산기.exe|\xD83D\xDE00:fps10|b/ä.png|-5,-6,70,80|0.5|0.25",
      L"spec t|n|p|1,2,3,4|0.75|-1",
      L"remove ä b",
      L"clear",
  };
  EXPECT_EQ(worker->Taken(), expected);
}

TEST_F(ControlTool, CommandThatNobodyTakesFailsAndTheSixtyFifthIsNotWritten) {
  for (int i = 0; i < 63; ++i) EXPECT_TRUE(rings.SendClear());
  for (const char* error : {"no worker", "the command ring is full"}) {
    const Outcome outcome = Control({"clear", "--timeout=0.01"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find(error), std::string::npos) << outcome.err;
  }
  EXPECT_EQ(rings.PendingCommands(), 64u);
  EXPECT_NE(Control({"status", "--json"}).out.find(R"("reasons":["command-not-read"])"), std::string::npos);
}

TEST_F(ControlTool, ConcurrentToolsLoseNoCommand) {
  StartWorker();
  constexpr int Tools = 8;
  std::vector<std::unique_ptr<Program>> tools;
  for (int i = 0; i < Tools; ++i) {
    tools.push_back(
        std::make_unique<Program>(ControlCommand({"remove", "spec" + std::to_string(i), Patient})));
  }
  for (const auto& tool : tools) EXPECT_EQ(tool->Wait(), 0) << tool->Err();
  EXPECT_EQ(worker->Taken().size(), std::size_t{Tools});
}

TEST_F(ControlTool, PingAndVersionTakeNoHitsUnlessTheRingIsFull) {
  StartWorker();
  EXPECT_EQ(Ping().out.find("HB in "), 0u);
  EXPECT_EQ(UnreadHits(), 0u);
  WriteHits(3);
  WriteHit(L"__ver__:9.9", 0, 0, 1, 1, 1.0f, 0.0f, 1);  // a hit, not a reply
  const Outcome outcome = Ping("안녕");
  EXPECT_EQ(outcome.out.find("안녕 in "), 0u) << outcome.out << outcome.err;
  EXPECT_EQ(Control({"version", "--json", Patient}).out.find(R"({"type":"reply","text":"__ver__:)"), 0u);
  EXPECT_EQ(Control({"watch", "--count=4", Patient}).code, 0);

  WriteHits(70);
  EXPECT_NE(Control({"status"}).out.find("silence   ring-full: 64 records"), std::string::npos);
  const Outcome full = Ping();
  EXPECT_EQ(full.out.find("HB in "), 0u) << full.out;
  EXPECT_NE(full.err.find("discarded 64 old records"), std::string::npos) << full.err;
}

TEST_F(ControlTool, WatchLosesNothingToPingsAndReportsDroppedHits) {
  StartWorker();
  Program watch(ControlCommand({"watch", "--json", "--count=41", Patient}));
  for (int i = 0; i < 4; ++i) {
    WriteHits(10);
    EXPECT_EQ(Ping().out.find("HB in "), 0u);
  }
  EXPECT_TRUE(watch.Says("\"type\":\"hit\"", 40)) << watch.Err();
  EXPECT_TRUE(watch.Says(R"({"type":"reply","text":"HB","ts":)")) << watch.Out();
  rings.SetHitWord(DroppedCount, 7);
  EXPECT_TRUE(watch.Says(R"({"type":"dropped","count":7,"total":7})")) << watch.Out();
  WriteHits(1);
  EXPECT_EQ(watch.Wait(), 0) << watch.Err();
}

TEST_F(ControlTool, WatchPrintsHitsAndLeavesTheRestUnread) {
  StartWorker();
  WriteHits(5, L"\"q\"\xD800");
  const Outcome json = Control({"watch", "--json", "--count=1", Patient});
  EXPECT_EQ(json.out,
            "{\"type\":\"note\",\"text\":\"no worker is running yet\"}\n"
            "{\"type\":\"hit\",\"name\":\"\\\"q\\\"\xEF\xBF\xBD\",\"cx\":0,\"cy\":2,\"w\":30,\"h\":40,"
            "\"score\":0.5,\"edge\":0.25,\"ts\":1700000000123}\n");
  const Outcome text = Control({"watch", "--count=1", Patient});
  EXPECT_EQ(text.out,
            "2023-11-14 22:13:20.123  \"q\"\xEF\xBF\xBD  at 1,2  size 30x40  score 0.500  edge 0.250\n");
  EXPECT_EQ(UnreadHits(), 3u);

  // A timeout is a failure only without hits or with too few.
  EXPECT_EQ(Control({"watch", "--timeout=0.3"}).code, 0);
  EXPECT_EQ(Control({"watch", "--timeout=0.05"}).code, 1);
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--timeout=0.3", "--count=2"}).code, 1);
}

TEST_F(ControlTool, SecondReaderIsRefusedUntilTheFirstIsKilledButPingsMayWait) {
  const Program ping(ControlCommand({"ping", "--timeout=600"}));
  ASSERT_TRUE(Eventually([&] { return rings.PendingCommands() == 1; }));
  Program first(ControlCommand({"watch"}));
  WriteHits(1);
  ASSERT_TRUE(first.Says("hit"));
  EXPECT_EQ(Control({"watch", Patient}).code, 2);
  EXPECT_EQ(Control({"wait", "door", Patient}).code, 2);
  first.Kill();
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--count=1", Patient}).code, 0);
  EXPECT_EQ(Control({"wait", "door", "--timeout=0.1"}).code, 1);
  EXPECT_FALSE(ping.Ended());
}

TEST_F(ControlTool, WaitEndsWithTheNextHitOrWhenItStaysPut) {
  const auto report = [](const std::wstring& name, int cx, std::uint64_t tsMs) {
    WriteHit(name, cx, 5, 10, 10, 1.0f, 1.0f, tsMs);
  };
  StartWorker();
  report(L"door", 1, 1);
  Program appear(ControlCommand({"wait", "door", "--appear", "--json", Patient}));
  ASSERT_TRUE(appear.Says("no worker is running"));  // earlier hits are discarded by then
  report(L"window", 2, 2);
  report(L"door", 3, 3);
  EXPECT_EQ(appear.Wait(), 0);
  EXPECT_TRUE(appear.Says(R"({"type":"event","event":"appeared","name":"door","cx":3,)")) << appear.Out();

  Program stable(ControlCommand({"wait", "door", "--stable=0.5", "--json", Patient}));
  ASSERT_TRUE(stable.Says("no worker is running"));
  for (const auto& [cx, tsMs] : {std::pair{3, 1000}, {3, 1400}, {30, 1500}, {30, 1900}, {30, 2100}}) {
    report(L"door", cx, static_cast<std::uint64_t>(tsMs));
  }
  EXPECT_EQ(stable.Wait(), 0);
  EXPECT_TRUE(stable.Says(R"("cx":30,"cy":5,"w":10,"h":10,"score":1.0,"edge":1.0,"ts":2100,"stableMs":600})"))
      << stable.Out();
}

}  // namespace
}  // namespace quillmark::test
