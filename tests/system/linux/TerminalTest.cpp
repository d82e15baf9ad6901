// The control tool on a terminal, which shows its progress.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "CommandTaker.h"
#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

// "\033[K" erases a line.
Program OnATerminal(const std::vector<std::string>& arguments, int columns = 2000) {
  std::string line = "stty cols " + std::to_string(columns) + "; TERM=xterm NO_COLOR=1 exec";
  for (const std::string& word : ControlCommand(arguments)) line += ' ' + word;
  return Program({"script", "--quiet", "--return", "--command", line, "/dev/null"});
}

TEST(Terminal, ShowsTheElapsedTimeUntilTheResult) {
  const PrivateSession session;
  Program tool = OnATerminal({"ping", "--timeout=600"});
  EXPECT_TRUE(tool.Says("ping 1 s"));
  EXPECT_TRUE(tool.Says("ping 2 s"));
  const CommandTaker worker;
  EXPECT_EQ(tool.Wait(), 0);
  EXPECT_THAT(tool.Out(), ContainsRegex(" s\033\\[K\033\\[KHB in [0-9]+ ms\n$"));
}

TEST(Terminal, ShowsABarDuringALongStepOnOnePicture) {
  const TempFolder folder;
  const std::string screen = (folder.Path() / "screen.png").string(),
                    part = (folder.Path() / "part.png").string();
  cv::imwrite(screen, cv::Mat(6000, 6000, CV_8U, cv::Scalar(90)));
  WriteImage(part);
  // The slowest mode, so that the step is long even on a fast machine.
  const Program tool = OnATerminal({"explain", "--target=t", "--name=part:mode=hs", "--path=" + part,
                                    "--roi=0,0,6000,6000", "--image=" + screen});
  EXPECT_TRUE(tool.Says("explain [##########....................]  33 % "));
}

TEST(Terminal, CutsTheBarToTheWidthAndErasesItBeforeAnError) {
  const TempFolder folder;
  Program tool =
      OnATerminal({"capture", "--target=t", "--delay=3", (folder.Path() / "new.png").string()}, 16);
  EXPECT_TRUE(tool.Says("capture [######\033[K"));
  tool.Wait();
  EXPECT_THAT(tool.Out(), HasSubstr("\033[Kquillmarkctl: "));
}

}  // namespace
}  // namespace quillmark::test
