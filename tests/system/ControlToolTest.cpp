// The control tool as a process against the worker's side of both rings in this one.
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

class ControlTool : public testing::Test {
 protected:
  void StartWorker() { worker = std::make_unique<CommandTaker>(); }
  static void WriteHits(int count, const std::wstring& name = L"hit") {
    for (int i = 0; i < count; ++i) WriteHit(name, i, 2, 30, 40, 0.5f, 0.25f, 1700000000123u);
  }
  std::uint32_t UnreadHits() const { return rings.HitWord(WriteIndex) - rings.HitWord(ReadIndex); }

  const PrivateSession session;
  RawController rings;  // a look at the bytes; it keeps the rings alive
  std::unique_ptr<CommandTaker> worker;
};

TEST_F(ControlTool, CommandsReachTheWorkerWithEveryField) {
  StartWorker();
  EXPECT_EQ(Control({"add", "--target", "계산기.exe", "--name", "😀:fps10", "--path", "b/ä.png", "--roi",
                     "-5,-6,70,80", "--edge-min", "0.5", "--threshold", "0.25"})
                .code,
            0);
  EXPECT_EQ(Control({"add", "--target=t", "--name=n", "--path=p", "--roi=1,2,3,4"}).code, 0);
  EXPECT_EQ(Control({"remove", "ä b", "--json"}).out, R"({"type":"sent","command":"remove","name":"ä b"})"
                                                      "\n");
  EXPECT_EQ(Control({"clear"}).code, 0);
  const std::vector<std::wstring> expected{
      L"spec 계산기.exe|\xD83D\xDE00:fps10|b/ä.png|-5,-6,70,80|0.5|0.25",
      L"spec t|n|p|1,2,3,4|0.75|-1",
      L"remove ä b",
      L"clear",
  };
  EXPECT_EQ(worker->Taken(), expected);
}

TEST_F(ControlTool, WrongUseIsRefusedBeforeAnythingIsPublished) {
  const std::string unit16(16, 'x'), unit31(31, 'x'), unit32(32, 'x'), unit64(64, 'x');
  const auto add = [](std::string target, std::string name, std::string path, std::string roi) {
    return std::vector<std::string>{"add", "--target", target, "--name", name, "--path", path, "--roi", roi};
  };
  const std::vector<std::vector<std::string>> wrong{
      {},
      {"unknown"},
      {"add"},
      add(unit16 + "x", "n", "p", "0,0,1,1"),
      add("t", unit32, "p", "0,0,1,1"),
      add("t", "n:" + unit31, "p", "0,0,1,1"),
      add("t", "n", unit64 + "x", "0,0,1,1"),
      add("t", "n", "p😀" + unit64.substr(2), "0,0,1,1"),
      add("", "n", "p", "0,0,1,1"),
      add("t", "n", "p", "0,0,1"),
      add("t", "n", "p", "0,0,1,1,1"),
      add("t", "n", "p", "0,0,1,0x1"),
      add("t", "n", "p", "0,0,99999999999,1"),
      add("t", "n", "p", "0,0,0,1"),
      {"add", "--target=t", "--name=n", "--path=p", "--roi=0,0,1,1", "--threshold=1.5"},
      {"add", "--target=t", "--name=n", "--path=p", "--roi=0,0,1,1", "--edge-min=nan"},
      {"remove", unit32 + "x"},
      {"ping", unit32},
      {"ping", "--timeout=-1"},
      {"ping", "--timeout=nan"},
      {"watch", "--count=0"},
      {"wait", "n:fps10", "--stable=0"},
      {"wait", unit32},
      {"wait", "n", "--appear", "--stable=1"},
  };
  for (const auto& arguments : wrong) {
    const Outcome outcome = Control(arguments);
    std::string line;
    for (const std::string& argument : arguments) line += argument + ' ';
    EXPECT_EQ(outcome.code, 2) << line;
    EXPECT_FALSE(outcome.err.empty()) << line;
  }
  EXPECT_EQ(rings.CommandWord(WriteIndex), 0u);
}

TEST_F(ControlTool, CommandNobodyTakesEndsWithOne) {
  const Outcome outcome = Control({"clear", "--timeout", "0.05"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("no worker"), std::string::npos) << outcome.err;
}

TEST_F(ControlTool, SixtyFifthUnreadCommandIsNotWritten) {
  for (int i = 0; i < 63; ++i) EXPECT_TRUE(rings.SendClear());
  for (int i = 0; i < 2; ++i) EXPECT_EQ(Control({"clear", "--timeout", "0.01"}).code, 1);
  EXPECT_EQ(rings.PendingCommands(), 64u);
  EXPECT_NE(Control({"status", "--json"}).out.find(R"("reasons":["command-not-read"])"), std::string::npos);
}

TEST_F(ControlTool, ToolsThatSendAtOnceLoseNoCommand) {
  StartWorker();
  constexpr int Tools = 8;
  std::vector<std::unique_ptr<Program>> tools;
  for (int i = 0; i < Tools; ++i) {
    tools.push_back(
        std::make_unique<Program>(ControlCommand({"remove", "spec" + std::to_string(i), "--timeout=20"})));
  }
  for (const auto& tool : tools) EXPECT_EQ(tool->Wait(), 0) << tool->Err();
  EXPECT_EQ(worker->Taken().size(), std::size_t{Tools});
}

TEST_F(ControlTool, PingTakesNoHitFromTheRing) {
  StartWorker();
  WriteHits(3);
  const Outcome outcome = Control({"ping", "안녕"});
  EXPECT_EQ(outcome.out.find("안녕 in "), 0u) << outcome.out << outcome.err;
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(rings.HitWord(ReadIndex), 0u);
  const Outcome watched = Control({"watch", "--count=3", "--timeout=5"});
  EXPECT_EQ(watched.code, 0);
}

TEST_F(ControlTool, PingsWithNobodyWatchingDoNotFillTheRing) {
  StartWorker();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Control({"ping"}).out.find("HB in "), 0u);
  EXPECT_EQ(UnreadHits(), 0u);
}

TEST_F(ControlTool, PingOverAFullUnreadRingSaysWhatItDiscards) {
  StartWorker();
  WriteHits(70);
  EXPECT_NE(Control({"status"}).out.find("silence   ring-full: 64 records"), std::string::npos);
  const Outcome outcome = Control({"ping"});
  EXPECT_EQ(outcome.out.find("HB in "), 0u) << outcome.out;
  EXPECT_NE(outcome.err.find("64 old records were discarded"), std::string::npos) << outcome.err;
}

TEST_F(ControlTool, WatchLosesNothingToPings) {
  StartWorker();
  Program watch(ControlCommand({"watch", "--json", "--count=40", "--timeout=20"}));
  for (int i = 0; i < 4; ++i) {
    WriteHits(10);
    EXPECT_EQ(Control({"ping"}).out.find("HB in "), 0u);
  }
  EXPECT_EQ(watch.Wait(), 0) << watch.Err();
  EXPECT_NE(watch.Out().find(R"({"type":"reply","text":"HB","ts":)"), std::string::npos);
}

TEST_F(ControlTool, PingThatWaitsForAWorkerKeepsNoWatchFromStarting) {
  Program ping(ControlCommand({"ping", "--timeout=60"}));
  ASSERT_TRUE(Eventually([&] { return rings.PendingCommands() == 1; }));
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--count=1", "--timeout=5"}).code, 0);
  EXPECT_FALSE(ping.Ended());
}

TEST_F(ControlTool, VersionPrintsTheWorkersVersion) {
  StartWorker();
  WriteHit(L"__ver__:9.9", 0, 0, 1, 1, 1.0f, 0.0f, 1);  // a hit of that name is no reply
  const Outcome outcome = Control({"version", "--json"});
  EXPECT_EQ(outcome.out.find(R"({"type":"reply","text":"__ver__:)"), 0u) << outcome.out << outcome.err;
}

TEST_F(ControlTool, WatchPrintsHitsAndLeavesTheRestUnread) {
  StartWorker();
  WriteHits(5, L"\"q\"\xD800");
  const Outcome json = Control({"watch", "--json", "--count=1", "--timeout=5"});
  EXPECT_EQ(json.out,
            "{\"type\":\"note\",\"text\":\"no worker runs yet\"}\n"
            "{\"type\":\"hit\",\"name\":\"\\\"q\\\"\xEF\xBF\xBD\",\"cx\":0,\"cy\":2,\"w\":30,\"h\":40,"
            "\"score\":0.5,\"edge\":0.25,\"ts\":1700000000123}\n");
  const Outcome text = Control({"watch", "--count=1", "--timeout=5"});
  EXPECT_EQ(text.out,
            "2023-11-14 22:13:20.123  \"q\"\xEF\xBF\xBD  at 1,2  size 30x40  score 0.500  edge 0.250\n");
  EXPECT_EQ(UnreadHits(), 3u);
}

TEST_F(ControlTool, WatchTellsWhatBecomesOfTheWorker) {
  const Program watch(ControlCommand({"watch", "--timeout=60"}));
  const auto says = [&](const char* text) {
    return Eventually([&] { return watch.Err().find(text) != std::string::npos; });
  };
  EXPECT_TRUE(says("no worker runs yet")) << watch.Err();
  Worker real;
  EXPECT_TRUE(says("a worker has started")) << watch.Err();
  real.Kill();
  EXPECT_TRUE(says("the worker has gone")) << watch.Err();
}

TEST_F(ControlTool, WatchTellsOfHitsThatFoundTheRingFull) {
  StartWorker();
  Program watch(ControlCommand({"watch", "--json", "--timeout=20"}));
  WriteHits(1);
  ASSERT_TRUE(Eventually([&] { return !watch.Out().empty(); })) << watch.Err();
  rings.SetHitWord(DroppedCount, 7);
  ASSERT_TRUE(Eventually([&] { return watch.Out().find(R"("type":"dropped")") != std::string::npos; }));
  EXPECT_NE(watch.Out().find(R"({"type":"dropped","count":7,"total":7})"), std::string::npos) << watch.Out();
}

TEST_F(ControlTool, WatchEndsInTimeWithOneWhenThereAreTooFewHits) {
  StartWorker();
  EXPECT_EQ(Control({"watch", "--timeout=0.05"}).code, 1);
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--timeout=0.3", "--count=2"}).code, 1);
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--timeout=0.3"}).code, 0);
}

class WaitCommand : public ControlTool {
 protected:
  // Returns when the tool has let go the hits from before.
  void Begin(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"wait", "--json", "--timeout=20"});
    wait = std::make_unique<Program>(ControlCommand(std::move(arguments)));
    ASSERT_TRUE(Eventually([&] { return wait->Out().find("no worker runs") != std::string::npos; }));
  }
  static void Report(const std::wstring& name, int cx, std::uint64_t tsMs) {
    WriteHit(name, cx, 5, 10, 10, 1.0f, 1.0f, tsMs);
  }
  // Whether it ends with this in its output.
  bool Finds(const std::string& text) {
    EXPECT_EQ(wait->Wait(), 0);
    return wait->Out().find(text) != std::string::npos;
  }

  std::unique_ptr<Program> wait;
};

TEST_F(WaitCommand, EndsWithTheNextHitOfTheName) {
  StartWorker();
  Report(L"door", 1, 1);
  Begin({"door", "--appear"});
  Report(L"window", 2, 2);
  Report(L"door", 3, 3);
  EXPECT_TRUE(Finds(R"({"type":"event","event":"appeared","name":"door","cx":3,)")) << wait->Out();
}

TEST_F(WaitCommand, StableCountsFromTheLastMove) {
  StartWorker();
  Begin({"door", "--stable=0.5"});
  for (const int ts : {0, 400}) Report(L"door", 3, 1000u + static_cast<unsigned>(ts));
  for (const int ts : {500, 900, 1100}) Report(L"door", 30, 1000u + static_cast<unsigned>(ts));
  EXPECT_TRUE(Finds(R"("cx":30,"cy":5,"w":10,"h":10,"score":1.0,"edge":1.0,"ts":2100,"stableMs":600})"))
      << wait->Out();
}

TEST_F(WaitCommand, EndsInTimeWithOneAndBesideAReaderWithTwo) {
  StartWorker();
  EXPECT_EQ(Control({"wait", "door", "--timeout=0.1"}).code, 1);
  Program watch(ControlCommand({"watch"}));
  WriteHits(1);
  ASSERT_TRUE(Eventually([&] { return !watch.Out().empty(); }));
  EXPECT_EQ(Control({"wait", "door", "--timeout=1"}).code, 2);
}

TEST_F(ControlTool, SecondWatchIsRefusedUntilTheFirstIsKilled) {
  StartWorker();
  Program first(ControlCommand({"watch"}));
  WriteHits(1);
  ASSERT_TRUE(Eventually([&] { return !first.Out().empty(); }));
  EXPECT_EQ(Control({"watch", "--timeout=1"}).code, 2);
  first.Kill();
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--count=1", "--timeout=5"}).code, 0);
}

}  // namespace
}  // namespace quillmark::test
