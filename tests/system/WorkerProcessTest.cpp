// The worker as a process: what it does at start, alone and next to another, and how it and its controllers
// survive each other's end.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "DebuggerOutput.h"
#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

std::string Utf16(const std::string& ascii) {
  std::string bytes;
  for (const char letter : ascii) bytes += {letter, '\0'};
  return bytes;
}

class WorkerProcess : public testing::Test {
 protected:
  WorkerProcess() { LeaveDisplay(); }

  // Whether the worker writes a line with both texts.
  bool Logs(const Worker& worker, const std::string& text, const std::string& more = {}) const {
    return Eventually([&] {
      return std::ranges::any_of(LinesOf(debugger.Of(worker)), [&](const std::string& line) {
        return line.find(text) != std::string::npos && line.find(more) != std::string::npos;
      });
    });
  }

  const PrivateSession session;
  const DebuggerOutput debugger;
};

TEST_F(WorkerProcess, AnswersAndSaysThatItStarts) {
  const Worker worker;
  EXPECT_TRUE(Answers());
  EXPECT_EQ(Control({"version"}).out, QUILLMARK_VERSION "\n");
  EXPECT_TRUE(Logs(worker, "[PROBE] OutputDebugString alive"));
  EXPECT_TRUE(Logs(worker, "[INFO] AsyncLogger started.", " [T"));
}

TEST_F(WorkerProcess, StatusAndWatchFollowItsStartsAndEnds) {
  EXPECT_EQ(Control({"status"}).code, 1);
  const Program follow(ControlCommand({"status", "--follow"})), watch(ControlCommand({"watch"}));
  EXPECT_TRUE(follow.Says("no worker runs"));
  EXPECT_TRUE(watch.Says("no worker runs yet"));
  {
    Worker worker;
    ASSERT_TRUE(Answers());
    const Outcome status = Control({"status", "--json"});
    EXPECT_EQ(status.code, 0) << status.out;
    const std::string said =
        R"("version":")" QUILLMARK_VERSION R"(","process":)" + std::to_string(worker.Pid());
    EXPECT_NE(status.out.find(said), std::string::npos) << status.out;
    EXPECT_TRUE(follow.Says("a worker has started")) << follow.Out();
    EXPECT_TRUE(watch.Says("a worker has started")) << watch.Err();
    worker.Kill();
    EXPECT_EQ(worker.Wait(), -1);
  }
  EXPECT_TRUE(follow.Says("the worker has gone")) << follow.Out();
  EXPECT_TRUE(watch.Says("the worker has gone")) << watch.Err();
}

TEST_F(WorkerProcess, TakesSpecsOfEveryFileFormatAndForgetsThem) {
  const Worker worker;
  RawController controller;
  const auto add = [&](const std::wstring& name, const std::wstring& path) {
    return controller.SendSpec(L"no such window", name, path, 0, 0, 100, 100, 0.75f, 0.1f);
  };
  WriteImage(worker.Folder() / u8"그림 ä.png");
  WriteImage(worker.Folder() / u8"그림 ä.jpg");
  WriteImage(worker.Folder() / u8"그림 ä.bmp");

  ASSERT_TRUE(add(L"png", L"그림 ä.png"));
  EXPECT_TRUE(Logs(worker, "[Spec][ADD] name=png path=", "(count=1)"));
  ASSERT_TRUE(add(L"jpeg", L"그림 ä.jpg"));
  EXPECT_TRUE(Logs(worker, "[Spec][ADD] name=jpeg path=", "(count=2)"));
  ASSERT_TRUE(add(L"bmp", L"그림 ä.bmp"));
  EXPECT_TRUE(Logs(worker, "[Spec][ADD] name=bmp path=", "(count=3)"));
  ASSERT_TRUE(add(L"png", L"그림 ä.bmp"));
  EXPECT_TRUE(Logs(worker, "[Spec][REPLACE] name=png path=", "(count=3)"));
  ASSERT_TRUE(controller.SendRemove(L"jpeg"));
  EXPECT_TRUE(Logs(worker, "[Spec][REMOVE] name=jpeg (count=2)"));
  ASSERT_TRUE(controller.SendClear());
  EXPECT_TRUE(Logs(worker, "[Spec][CLEAR] reason=cmd (count=0)"));
}

TEST_F(WorkerProcess, TakesItsVersionFromTheProgramFile) {
  std::string program = ContentOf(WorkerFile());
  const std::string version = Utf16(QUILLMARK_VERSION);
  const std::string other(std::string(QUILLMARK_VERSION).size(), '7');
  for (auto at = program.find(version); at != std::string::npos; at = program.find(version, at)) {
    program.replace(at, version.size(), Utf16(other));
  }
  const TempFolder folder;
  const auto changed = folder.Path() / WorkerFile().filename();
  std::ofstream(changed, std::ios::binary) << program;
  std::filesystem::permissions(changed, std::filesystem::perms::owner_all);

  const Worker worker({}, changed);
  EXPECT_EQ(Control({"version", "--timeout=60"}).out, other + "\n");
}

TEST_F(WorkerProcess, EachStartAppendsTheProbeWhereItCan) {
  const std::string probe = Utf16("[PROBE] file write alive\r\n");
  ASSERT_EQ(probe.size(), 52u);
  const TempFolder folder;
  const auto file = folder.Path() / "probe_log.txt";
  for (const std::string& expected : {probe, probe + probe}) {
    const Worker worker(folder.Path());
    EXPECT_TRUE(Answers());
    EXPECT_EQ(ContentOf(file), expected);
  }
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  const Worker worker(folder.Path());
  EXPECT_TRUE(Answers());
}

TEST_F(WorkerProcess, GoesOnWithCommandsWhereTheKilledOneStopped) {
  RawController controller;
  auto worker = std::make_unique<Worker>();
  ASSERT_TRUE(controller.SendHeartbeat(L"first"));
  ASSERT_TRUE(controller.WaitForHit(L"first"));
  worker->Kill();
  ASSERT_TRUE(controller.SendHeartbeat(L"second"));
  worker = std::make_unique<Worker>();
  ASSERT_TRUE(controller.WaitForHit(L"second")) << debugger.Of(*worker);
  EXPECT_TRUE(Eventually([&] { return controller.CommandWord(ReadIndex) == 2u; }));
}

TEST_F(WorkerProcess, EitherSideSurvivesTheOthersKillInAnyOrder) {
  std::mt19937 random(20260101);
  auto worker = std::make_unique<Worker>();
  auto watch = std::make_unique<Program>(ControlCommand({"watch"}));
  for (int round = 0; round < 15; ++round) {
    const bool workerDies = random() % 3 != 0;
    const bool watchDies = random() % 3 != 0;
    const bool workerFirst = random() % 2 != 0;
    if (workerDies && workerFirst) worker->Kill();
    if (watchDies) watch->Kill();
    if (workerDies && !workerFirst) worker->Kill();
    const bool watchStartsFirst = random() % 2 != 0;
    if (watchDies && watchStartsFirst) watch = std::make_unique<Program>(ControlCommand({"watch"}));
    if (workerDies) worker = std::make_unique<Worker>();
    if (watchDies && !watchStartsFirst) watch = std::make_unique<Program>(ControlCommand({"watch"}));

    const std::string text = "round " + std::to_string(round);
    // A watch that is still starting leaves the reply to the heartbeat.
    const auto bothWork = [&] { return Answers(text) && watch->Out().find(text) != std::string::npos; };
    ASSERT_TRUE(Eventually(bothWork)) << text << '\n' << worker->Err() << watch->Out() << watch->Err();
    ASSERT_FALSE(worker->Ended());
    ASSERT_FALSE(watch->Ended());
  }
}

TEST_F(WorkerProcess, LivesThroughGarbageInTheCommandSection) {
  const Worker worker;
  ASSERT_TRUE(Answers());
  RawController controller;
  std::mt19937 random(20260102);
  for (int round = 0; round < 20; ++round) {
    constexpr std::size_t Header = 16, SlotBytes = 320;
    std::byte* const commands = controller.Commands();
    for (std::size_t at = Header; at < RawController::CommandBytes; ++at) {
      commands[at] = static_cast<std::byte>(random());
    }
    // Most of them commands that there are, with garbage in their fields.
    for (std::size_t at = Header; at < RawController::CommandBytes; at += SlotBytes) {
      const std::uint32_t kind = random() % 8;
      if (random() % 4 != 0) std::memcpy(commands + at, &kind, sizeof kind);
    }
    if (round % 5 == 0) controller.SetCommandWord(ReadIndex, static_cast<std::uint32_t>(random()));
    controller.SetCommandWord(WriteIndex, static_cast<std::uint32_t>(random()));
    controller.SignalCommands();
    ASSERT_TRUE(Eventually([&] { return controller.PendingCommands() == 0 || worker.Ended(); })) << round;
    ASSERT_FALSE(worker.Ended()) << "round " << round;
  }
  controller.TakeHits();
  ASSERT_TRUE(controller.SendHeartbeat(L"sane again"));
  EXPECT_TRUE(controller.WaitForHit(L"sane again"));
}

TEST_F(WorkerProcess, SecondInstanceShowsItsBoxAndLeavesTheFirstAlone) {
  const Desktop desktop;
  const Worker first;
  ASSERT_TRUE(Answers());

  Worker second;
  ASSERT_TRUE(Eventually([&] { return desktop.ShowsBox("Quillmark"); })) << debugger.Of(second);
  EXPECT_TRUE(Logs(second, "[Quillmark] Another instance is already running."));
  EXPECT_FALSE(second.Ended()) << "the box holds it until the user has closed it";
  EXPECT_TRUE(Answers());

  desktop.ConfirmBox("Quillmark");
  ASSERT_TRUE(Eventually([&] { return second.Ended(); }));
  EXPECT_EQ(second.Wait(), 2);
  EXPECT_FALSE(std::filesystem::exists(second.Folder() / "probe_log.txt"));
  EXPECT_EQ(debugger.Of(second).find("[PROBE]"), std::string::npos);
  EXPECT_TRUE(Answers());
  EXPECT_FALSE(first.Ended());
}

}  // namespace
}  // namespace quillmark::test
