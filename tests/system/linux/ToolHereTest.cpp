// The control tool in a shell and on a terminal, and while the worker is stopped, there is no display, or the
// disk is full.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "Apps.h"
#include "CommandTaker.h"
#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

class ToolHere : public testing::Test {
 protected:
  ToolHere() {
    LeaveDisplay();
    WriteImage(image);
  }

  std::string File(const std::string& name) const { return (folder.Path() / name).string(); }
  // Arguments that search an image for the template.
  std::vector<std::string> Explain(std::vector<std::string> more) const {
    more.insert(more.begin(),
                {"explain", "--target=t", "--name=a:mode=hs", "--path=" + image, "--roi=0,0,6000,6000"});
    return more;
  }
  static std::string Joined(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& word : ControlCommand(arguments)) line += word + ' ';
    return line;
  }
  // What bash offers for the last word.
  static std::string Completed(const std::string& words) {
    return Shell("bash -c '. <(" + Joined({"completion", "bash"}) + "); COMP_WORDS=(quillmarkctl " + words +
                 "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _quillmarkctl; echo ${COMPREPLY[*]}'");
  }
  // "\033[K" erases a line.
  static Program OnATerminal(const std::vector<std::string>& arguments, int columns = 2000) {
    return Program(
        {"script", "--quiet", "--return", "--command",
         "stty cols " + std::to_string(columns) + "; TERM=xterm NO_COLOR=1 exec " + Joined(arguments),
         "/dev/null"});
  }

  const PrivateSession session;
  const TempFolder folder;
  const std::string image = File("a.png");
};

TEST_F(ToolHere, CompletesCommandsOptionsAndWords) {
  EXPECT_EQ(Completed("exp"), "explain");
  EXPECT_EQ(Completed("explain --im"), "--image");
  EXPECT_EQ(Completed("completion \"\""), "bash zsh fish");
  EXPECT_EQ(Completed("manual quillmark-"), "quillmark-specs");
  EXPECT_EQ(Completed("lint \"\""), "");  // the shell completes files
}

TEST_F(ToolHere, WritesToAnOpenPipeButRefusesANamedOneAndInvalidUtf8) {
  const std::string given = "--image=" + image;
  EXPECT_EQ(Shell(Joined(Explain({given, "--html=/dev/stdout"})) + "| head -c 15"), "<!doctype html>");
  ASSERT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
  const Outcome refused = Control(Explain({given, "--html", File("pipe")}));
  EXPECT_EQ(refused.code, 2);
  EXPECT_THAT(refused.err, HasSubstr("named pipe"));
  for (const char* command : {"lint", "remove"}) {
    const Outcome outcome = Control({command, "\xff"});
    EXPECT_EQ(outcome.code, 2) << command;
    EXPECT_THAT(outcome.err, HasSubstr("not valid UTF-8"));
  }
}

TEST_F(ToolHere, FailedWriteKeepsTheOldFile) {
  const std::string page = File("page.html");
  const std::string line = Joined(Explain({"--image=" + image, "--html=" + page}));
  EXPECT_EQ(Shell("( echo old > " + page + "; trap '' XFSZ; ulimit -f 1; " + line + " ) 2>&1; cat " + page +
                  "; ls " + folder.Path().string()),
            "quillmarkctl: " + page + " cannot be written\nold\na.png\npage.html");
}

TEST_F(ToolHere, WithoutADisplayTheMonitorIsReportedMissing) {
  const Outcome explained = Control(Explain({"--live", "--json"}));
  EXPECT_EQ(explained.code, 1);
  EXPECT_THAT(explained.out, HasSubstr("\"no-monitor\""));
  const Outcome captured = Control({"capture", "--target=t", File("new.png")});
  EXPECT_EQ(captured.code, 2);
  EXPECT_EQ(captured.err, "quillmarkctl: there is no monitor\n");
}

TEST_F(ToolHere, ShowsTheElapsedTimeOnATerminalUntilTheResult) {
  Program tool = OnATerminal({"ping", "--timeout=600"});
  EXPECT_TRUE(tool.Says("ping 1 s"));
  EXPECT_TRUE(tool.Says("ping 2 s"));
  const CommandTaker worker;
  EXPECT_EQ(tool.Wait(), 0);
  EXPECT_THAT(tool.Out(), ContainsRegex(" s\033\\[K\033\\[KHB in [0-9]+ ms\n$"));
}

TEST_F(ToolHere, ShowsABarThatIsCutToTheWidthAndErasedBeforeAnError) {
  cv::imwrite(File("screen.png"), cv::Mat(6000, 6000, CV_8U, cv::Scalar(90)));
  // The slowest mode, so that the step is long even on a fast machine.
  const Program explain = OnATerminal(Explain({"--image=" + File("screen.png")}));
  EXPECT_TRUE(explain.Says("explain [##########....................]  33 % "));
  Program capture = OnATerminal({"capture", "--target=t", "--delay=3", File("new.png")}, 16);
  EXPECT_TRUE(capture.Says("capture [######\033[K"));
  capture.Wait();
  EXPECT_THAT(capture.Out(), HasSubstr("\033[Kquillmarkctl: "));
}

TEST_F(ToolHere, ApplyContinuesWhenTheWorkerTakesCommandsAgain) {
  const auto declare = [&](const std::string& region) {
    std::ofstream text(File("specs.toml"));
    text << "[defaults]\ntarget = \"t\"\npath = \"a.png\"\nregion = " << region << '\n';
    for (const char* name : {"a", "b", "c"}) text << "[[spec]]\nname = \"" << name << "\"\n";
  };
  declare("[1, 2, 30, 40]");
  const Worker worker;
  ASSERT_TRUE(Eventually([] { return Control({"status"}).code == 0; }));
  const Program watch(ControlCommand({"apply", "--watch", File("specs.toml"), "--timeout=0.5"}));
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
  std::ofstream(File("specs.toml")) << "no specs";
  ::kill(worker.Pid(), SIGCONT);
  EXPECT_TRUE(watch.Says("specs.toml, line 1")) << watch.Out() << watch.Err();
  for (int i = 0; i < 8; ++i) EXPECT_EQ(Control({"status"}).code, 0);  // takes several intervals of apply
  EXPECT_EQ(CountOf("specs.toml, line 1", watch.Err()), 1u) << watch.Err();
  declare("[1, 2, 70, 80]");
  EXPECT_TRUE(watch.Says("3 replaced", 2)) << watch.Out() << watch.Err();
}

}  // namespace
}  // namespace quillmark::test
