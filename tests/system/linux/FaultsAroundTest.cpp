// The control tool while the worker is stopped, there is no display, or the disk is full.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <string>

#include "Desktop.h"
#include "Programs.h"
#include "linux/Shell.h"
#include "support/PrivateSession.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

class FaultsAround : public testing::Test {
 protected:
  FaultsAround() {
    LeaveDisplay();
    WriteImage(image);
  }

  const PrivateSession session;
  const TempFolder folder;
  const std::string image = (folder.Path() / "a.png").string();
};

TEST_F(FaultsAround, ApplyContinuesWhenTheWorkerTakesCommandsAgain) {
  const std::string file = (folder.Path() / "specs.toml").string();
  const auto declare = [&](const std::string& region) {
    std::ofstream text(file);
    text << "[defaults]\ntarget = \"t\"\npath = \"a.png\"\nregion = " << region << '\n';
    for (const char* name : {"a", "b", "c"}) text << "[[spec]]\nname = \"" << name << "\"\n";
  };
  declare("[1, 2, 30, 40]");
  const Worker worker;
  ASSERT_TRUE(Eventually([] { return Control({"status"}).code == 0; }));
  const Program watch(ControlCommand({"apply", "--watch", file, "--timeout=0.5"}));
  const auto stall = [&](const std::string& region, std::size_t times) {
    ::kill(worker.Pid(), SIGSTOP);
    declare(region);
    EXPECT_TRUE(watch.Says("the worker did not take a command in time", times)) << watch.Out() << watch.Err();
  };
  ASSERT_TRUE(watch.Says("3 added")) << watch.Out() << watch.Err();
  stall("[1, 2, 50, 60]", 1);
  ::kill(worker.Pid(), SIGCONT);
  EXPECT_TRUE(watch.Says("3 replaced")) << watch.Out() << watch.Err();

  // A broken file is reported once.
  stall("[1, 2, 70, 80]", 2);
  std::ofstream(file) << "no specs";
  ::kill(worker.Pid(), SIGCONT);
  EXPECT_TRUE(watch.Says("specs.toml, line 1")) << watch.Out() << watch.Err();
  for (int i = 0; i < 8; ++i) EXPECT_EQ(Control({"status"}).code, 0);  // takes several intervals of apply
  EXPECT_EQ(CountOf("specs.toml, line 1", watch.Err()), 1u) << watch.Err();
  declare("[1, 2, 70, 80]");
  EXPECT_TRUE(watch.Says("3 replaced", 2)) << watch.Out() << watch.Err();
}

TEST_F(FaultsAround, WithoutADisplayTheMonitorIsReportedMissing) {
  const Outcome explained = Control(
      {"explain", "--live", "--target=t", "--name=a", "--path=" + image, "--roi=0,0,30,20", "--json"});
  EXPECT_EQ(explained.code, 1);
  EXPECT_NE(explained.out.find("\"no-monitor\""), std::string::npos) << explained.out << explained.err;
  const Outcome captured = Control({"capture", "--target=t", (folder.Path() / "new.png").string()});
  EXPECT_EQ(captured.code, 2);
  EXPECT_EQ(captured.err, "quillmarkctl: there is no monitor\n");
}

TEST_F(FaultsAround, FailedWriteKeepsTheOldFile) {
  const std::string page = (folder.Path() / "page.html").string();
  std::string line = "echo old > " + page + "; trap '' XFSZ; ulimit -f 1; ";
  for (const std::string& word : ControlCommand({"explain", "--target=t", "--name=a", "--path=" + image,
                                                 "--roi=0,0,30,20", "--image=" + image, "--html=" + page})) {
    line += word + ' ';
  }
  EXPECT_EQ(Shell("( " + line + " ) 2>&1; cat " + page + "; ls " + folder.Path().string()),
            "quillmarkctl: " + page + " cannot be written\nold\na.png\npage.html");
}

}  // namespace
}  // namespace quillmark::test
