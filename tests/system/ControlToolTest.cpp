// The control tool as a process against the worker's side of both rings in this one.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Programs.h"
#include "ipc/CmdRingReader.h"
#include "ipc/HitRing.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

// Polls the command ring as the worker's main thread does and writes down the commands it gets.
class CommandTaker {
 public:
  CommandTaker() {
    EXPECT_TRUE(HitRing::Instance().EnsureInit());
    EXPECT_TRUE(reader.Init(0));
    reader.SetHandlers(
        [this](auto& target, auto& name, auto& path, auto x, auto y, auto w, auto h, float edge,
               float limit) {
          std::wostringstream line;
          line << L"spec " << target << L'|' << name << L'|' << path << L'|' << x << L',' << y << L',' << w
               << L',' << h << L'|' << edge << L'|' << limit;
          Note(line.str());
        },
        [this] { Note(L"clear"); }, [this](auto& name, auto&) { Note(L"remove " + name); });
    thread = std::thread([this] {
      while (!stop) {
        reader.Poll(0);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
    });
  }
  ~CommandTaker() {
    stop = true;
    thread.join();
  }

  std::vector<std::wstring> Taken() {
    const std::lock_guard lock(mutex);
    return taken;
  }

 private:
  void Note(const std::wstring& line) {
    const std::lock_guard lock(mutex);
    taken.push_back(line);
  }

  CmdRingReader reader;
  std::mutex mutex;
  std::vector<std::wstring> taken;
  std::atomic<bool> stop{false};
  std::thread thread;
};

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
  EXPECT_EQ(Control({"remove", "ä b"}).code, 0);
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
      {"remove", "\xff"},
      {"remove", unit32 + "x"},
      {"heartbeat", unit32},
      {"heartbeat", "--timeout=-1"},
      {"watch", "--count=0"},
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
  for (int i = 0; i < 65; ++i) EXPECT_EQ(Control({"clear", "--timeout", "0.01"}).code, 1);
  EXPECT_EQ(rings.PendingCommands(), 64u);
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

TEST_F(ControlTool, HeartbeatTakesNoHitFromTheRing) {
  StartWorker();
  WriteHits(3);
  const Outcome outcome = Control({"heartbeat", "안녕"});
  EXPECT_EQ(outcome.out, "안녕\n") << outcome.err;
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(rings.HitWord(ReadIndex), 0u);
  const Outcome watched = Control({"watch", "--count=3", "--timeout=5"});
  EXPECT_EQ(watched.code, 0);
}

TEST_F(ControlTool, HeartbeatsWithNobodyWatchingDoNotFillTheRing) {
  StartWorker();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Control({"heartbeat"}).out, "HB\n");
  EXPECT_EQ(UnreadHits(), 0u);
}

TEST_F(ControlTool, HeartbeatOverAFullUnreadRingSaysWhatItDiscards) {
  StartWorker();
  WriteHits(70);
  const Outcome outcome = Control({"heartbeat"});
  EXPECT_EQ(outcome.out, "HB\n");
  EXPECT_NE(outcome.err.find("64 old records were discarded"), std::string::npos) << outcome.err;
}

TEST_F(ControlTool, WatchLosesNothingToHeartbeats) {
  StartWorker();
  Program watch(ControlCommand({"watch", "--json", "--count=40", "--timeout=20"}));
  for (int i = 0; i < 4; ++i) {
    WriteHits(10);
    EXPECT_EQ(Control({"heartbeat"}).out, "HB\n");
  }
  EXPECT_EQ(watch.Wait(), 0) << watch.Err();
  EXPECT_NE(watch.Out().find(R"({"type":"reply","text":"HB","ts":)"), std::string::npos);
}

TEST_F(ControlTool, HeartbeatThatWaitsForAWorkerKeepsNoWatchFromStarting) {
  Program heartbeat(ControlCommand({"heartbeat", "--timeout=60"}));
  ASSERT_TRUE(Eventually([&] { return rings.PendingCommands() == 1; }));
  WriteHits(1);
  EXPECT_EQ(Control({"watch", "--count=1", "--timeout=5"}).code, 0);
  EXPECT_FALSE(heartbeat.Ended());
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
            "{\"type\":\"hit\",\"name\":\"\\\"q\\\"\xEF\xBF\xBD\",\"cx\":0,\"cy\":2,\"w\":30,\"h\":40,"
            "\"score\":0.5,\"edge\":0.25,\"ts\":1700000000123}\n");
  const Outcome text = Control({"watch", "--count=1", "--timeout=5"});
  EXPECT_EQ(text.out,
            "2023-11-14 22:13:20.123  \"q\"\xEF\xBF\xBD  at 1,2  size 30x40  score 0.500  edge 0.250\n");
  EXPECT_EQ(UnreadHits(), 3u);
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

TEST_F(ControlTool, InterruptedWatchEndsInOrder) {
  StartWorker();
  Program watch(ControlCommand({"watch"}));
  WriteHits(1);
  ASSERT_TRUE(Eventually([&] { return !watch.Out().empty(); }));
  watch.Interrupt();
  EXPECT_EQ(watch.Wait(), 0);
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
