// The worker as a process: how it starts, alone and as a second instance, and how it and its controllers
// survive each other's death.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

std::string Utf16(const std::string& ascii) {
  std::string units;
  for (const char letter : ascii) units += {letter, '\0'};
  return units;
}

class WorkerProcess : public testing::Test {
 protected:
  WorkerProcess() { LeaveDisplay(); }

  bool Logs(const Worker& worker, const std::string& text) const {
    return Eventually([&] { return debugger.Of(worker).find(text) != std::string::npos; });
  }

  const PrivateSession session;
  const DebuggerOutput debugger;
};

TEST_F(WorkerProcess, StatusAndWatchReportItsStartAndEnd) {
  EXPECT_EQ(Control({"status"}).code, 1);
  const Program follow(ControlCommand({"status", "--follow"})), watch(ControlCommand({"watch"}));
  EXPECT_TRUE(follow.Says("no worker is running"));
  EXPECT_TRUE(watch.Says("no worker is running yet"));
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
  EXPECT_TRUE(follow.Says("the worker has ended")) << follow.Out();
  EXPECT_TRUE(watch.Says("the worker has ended")) << watch.Err();
}

TEST_F(WorkerProcess, ReadsItsVersionFromTheProgramFile) {
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

TEST_F(WorkerProcess, EachStartIsLoggedAndAppendsTheProbeIfPossible) {
  const std::string probe = Utf16("[PROBE] file write alive\r\n");
  const TempFolder folder;
  const auto file = folder.Path() / "probe_log.txt";
  for (const std::string& expected : {probe, probe + probe}) {
    const Worker worker(folder.Path());
    EXPECT_TRUE(Answers());
    EXPECT_TRUE(Logs(worker, "[PROBE] OutputDebugString alive"));
    EXPECT_TRUE(Logs(worker, "[INFO] AsyncLogger started."));
    EXPECT_EQ(ContentOf(file), expected);
  }
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  const Worker worker(folder.Path());
  EXPECT_TRUE(Answers());
}

TEST_F(WorkerProcess, WorkerAndWatchSurviveEachOthersKillInAnyOrder) {
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
    const auto bothWork = [&] { return Answers(text) && watch->Out().find(text) != std::string::npos; };
    ASSERT_TRUE(Eventually(bothWork)) << text << '\n' << worker->Err() << watch->Out() << watch->Err();
    ASSERT_FALSE(worker->Ended());
    ASSERT_FALSE(watch->Ended());
  }
}

TEST_F(WorkerProcess, SurvivesGarbageInTheCommandSection) {
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
    // Mostly valid kinds, with garbage in their fields.
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
  EXPECT_FALSE(second.Ended()) << "it waits until the user closes the box";
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
