// The worker as a process: what it does at start, alone and next to another, and how it and its controllers
// survive each other's end.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "Programs.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

std::string Utf16(const std::string& ascii) {
  std::string bytes;
  for (const char letter : ascii) bytes += {letter, '\0'};
  return bytes;
}

// Exit code and output of a heartbeat that waits for a worker that may be starting.
bool Answers(const std::string& text = "alive") {
  const Outcome outcome = Control({"heartbeat", text, "--timeout=30"});
  EXPECT_EQ(outcome.err, "");
  return outcome.code == 0 && outcome.out == text + "\n";
}

class WorkerProcess : public testing::Test {
 protected:
  WorkerProcess() { ::unsetenv("DISPLAY"); }
  const PrivateSession session;
};

TEST_F(WorkerProcess, AnswersWithoutADisplay) {
  const Worker worker;
  EXPECT_TRUE(Answers());
  EXPECT_EQ(Control({"version"}).out, QUILLMARK_VERSION "\n");
}

TEST_F(WorkerProcess, TakesItsVersionFromTheProgramFile) {
  std::string program = ContentOf(WorkerFile());
  const std::string version = Utf16(QUILLMARK_VERSION);
  const std::string other(std::string(QUILLMARK_VERSION).size(), '7');
  for (auto at = program.find(version); at != std::string::npos; at = program.find(version, at)) {
    program.replace(at, version.size(), Utf16(other));
  }
  const TempFolder folder;
  const auto changed = folder.Path() / "Quillmark";
  std::ofstream(changed, std::ios::binary) << program;
  std::filesystem::permissions(changed, std::filesystem::perms::owner_all);

  const Worker worker({}, changed);
  EXPECT_EQ(Control({"version", "--timeout=30"}).out, other + "\n");
}

TEST_F(WorkerProcess, EachStartAppendsTheProbe) {
  const std::string probe = Utf16("[PROBE] file write alive\r\n");
  ASSERT_EQ(probe.size(), 52u);
  const TempFolder folder;
  for (const std::string& expected : {probe, probe + probe}) {
    const Worker worker(folder.Path());
    EXPECT_TRUE(Answers());
    EXPECT_EQ(ContentOf(folder.Path() / "probe_log.txt"), expected);
  }
}

TEST_F(WorkerProcess, StartsWhereItCannotWriteTheProbe) {
  const Worker worker("/proc");
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
  ASSERT_TRUE(controller.WaitForHit(L"second"));
  EXPECT_TRUE(Eventually([&] { return controller.CommandWord(ReadIndex) == 2u; }));
}

TEST_F(WorkerProcess, EitherSideSurvivesTheOthersKillInAnyOrder) {
  std::mt19937 random(20260101);
  auto worker = std::make_unique<Worker>();
  auto watch = std::make_unique<Program>(ControlCommand({"watch"}));
  for (int round = 0; round < 25; ++round) {
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

TEST_F(WorkerProcess, SecondInstanceIsRefusedWithoutADisplayToo) {
  const Worker first;
  ASSERT_TRUE(Answers());
  Worker second;
  ASSERT_TRUE(Eventually([&] { return second.Ended(); }));
  EXPECT_EQ(second.Wait(), 2);
  EXPECT_NE(second.Err().find("Another instance is already running."), std::string::npos) << second.Err();
  EXPECT_TRUE(Answers());
}

TEST_F(WorkerProcess, SecondInstanceShowsItsBoxAndLeavesTheFirstAlone) {
  PrivateDisplay display;
  display.StartWindowManager();
  const Worker first;
  ASSERT_TRUE(Answers());

  Worker second;
  std::string box;
  const auto boxAppears = [&] {
    box = Shell("xdotool search --onlyvisible --name '^Quillmark$'");
    return !box.empty();
  };
  ASSERT_TRUE(Eventually(boxAppears)) << second.Err();
  EXPECT_FALSE(second.Ended()) << "the box holds it until the user has closed it";
  EXPECT_TRUE(Answers());

  EXPECT_TRUE(PrivateDisplay::Run({"xdotool", "windowfocus", "--sync", box, "key", "Return"}));
  ASSERT_TRUE(Eventually([&] { return second.Ended(); }));
  EXPECT_EQ(second.Wait(), 2);
  EXPECT_FALSE(std::filesystem::exists(second.Folder() / "probe_log.txt"));
  EXPECT_TRUE(Answers());
  EXPECT_FALSE(first.Ended());
}

}  // namespace
}  // namespace quillmark::test
