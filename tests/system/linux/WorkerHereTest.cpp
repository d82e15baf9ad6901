// What the programs do only on Linux.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

class WorkerHere : public testing::Test {
 protected:
  WorkerHere() { LeaveDisplay(); }
  const PrivateSession session;
};

TEST_F(WorkerHere, SecondInstanceIsAlsoRefusedWithoutADisplay) {
  const Worker first;
  ASSERT_TRUE(Answers());
  Worker second;
  ASSERT_TRUE(Eventually([&] { return second.Ended(); }));
  EXPECT_EQ(second.Wait(), 2);
  EXPECT_NE(second.Err().find("Another instance is already running."), std::string::npos) << second.Err();
  EXPECT_TRUE(Answers());
}

TEST_F(WorkerHere, OutputThatNobodyReadsBlocksNothing) {
  const TempFolder folder;
  const std::string fifo = (folder.Path() / "output").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const int output = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(output, 0);
  const std::string page(4096, 'x');
  while (::write(output, page.data(), page.size()) > 0) {
  }
  const ChildProcess worker({WorkerFile().string()},
                            {.folder = folder.Path(), .output = fifo, .errors = fifo});
  EXPECT_TRUE(Answers());
  RawController controller;
  EXPECT_TRUE(controller.SendSpec(L"none", L"a", L"/no/image", 0, 0, 9, 9, 0.75f, 0.1f));
  EXPECT_TRUE(Answers("after a line on standard output"));
  ::close(output);
}

TEST_F(WorkerHere, ProgramsWithoutStandardStreamsDoNotPrintIntoSharedObjects) {
  const TempFolder folder;
  for (const std::string closed : {" <&- >&-", " >&- 2>&-"}) {
    SCOPED_TRACE(closed);
    const auto start = [&](const std::string& command) {
      return std::make_unique<ChildProcess>(
          std::vector<std::string>{"/bin/sh", "-c", "exec " + command + closed},
          ChildProcess::Surroundings{folder.Path(), {}, {}});
    };
    const auto worker = start(WorkerFile().string());
    EXPECT_TRUE(Answers());
    RawController controller;
    EXPECT_TRUE(controller.SendSpec(L"none", L"a", L"/no/image", 0, 0, 9, 9, 0.75f, 0.1f));  // prints
    ASSERT_TRUE(controller.SendClear());                                                     // logs
    start(ControlCommand({}).front() + " ping reply")->Wait();                               // prints
    EXPECT_TRUE(Answers());
    for (const auto& file : std::filesystem::recursive_directory_iterator(session.Base())) {
      const std::string bytes = file.is_regular_file() ? ContentOf(file.path()) : "";
      for (const char* printed : {"[INFO]", "[Spec]", "reply"}) {
        EXPECT_EQ(bytes.find(printed), std::string::npos) << printed << " in " << file.path();
      }
    }
  }
}

TEST_F(WorkerHere, LoadsTheCodecsOfItsFolderWithTheFirstImage) {
  const TempFolder folder;
  const auto program = folder.Path() / "bin" / "Quillmark", link = folder.Path() / "link";
  std::filesystem::create_directory(program.parent_path());
  std::filesystem::copy_file(WorkerFile(), program);
  std::filesystem::create_symlink(program, link);
  const auto codecs = program.parent_path() / QUILLMARK_CODECS;
  WriteImage(folder.Path() / "a.png");
  const Worker worker({}, link);
  const auto add = [&] {
    RawController controller;
    EXPECT_TRUE(
        controller.SendSpec(L"none", L"a", (folder.Path() / "a.png").wstring(), 0, 0, 90, 90, 0.75f, 0.1f));
  };
  const auto maps = [&] { return ContentOf("/proc/" + std::to_string(worker.Pid()) + "/maps"); };
  ASSERT_TRUE(Answers());
  EXPECT_EQ(maps().find("imgcodecs"), std::string::npos);

  add();
  EXPECT_TRUE(worker.Says("(cannot read images: " + codecs.string() + " cannot be loaded (error 126))"))
      << worker.Err();
  EXPECT_TRUE(Answers());

  std::filesystem::create_directories(codecs.parent_path().lexically_normal());
  std::filesystem::copy_file(WorkerFile().parent_path() / QUILLMARK_CODECS, codecs);
  add();
  EXPECT_TRUE(worker.Says("[Spec][ADD] name=a")) << worker.Err();
  EXPECT_NE(maps().find("imgcodecs"), std::string::npos);
}

TEST_F(WorkerHere, InterruptedWatchSucceeds) {
  Program watch(ControlCommand({"watch"}));
  ASSERT_TRUE(watch.Says("no worker is running yet"));
  ::kill(watch.Pid(), SIGINT);
  EXPECT_EQ(watch.Wait(), 0);
}

}  // namespace
}  // namespace quillmark::test
