// The control tool on a terminal, which shows for how long it has been at work.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
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

// The tool on a terminal of its own, which hangs up when this object goes.
class ToolOnATerminal {
 public:
  explicit ToolOnATerminal(std::vector<std::string> arguments, unsigned short columns = 2000) {
    std::vector<std::string> command = ControlCommand(std::move(arguments));
    std::vector<char*> argv;
    for (std::string& word : command) argv.push_back(word.data());
    argv.push_back(nullptr);
    const winsize size{24, columns, 0, 0};
    tool = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (tool != 0) return;
    ::setenv("TERM", "xterm", 1);
    ::setenv("NO_COLOR", "1", 1);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ~ToolOnATerminal() {
    ::close(terminal);
    if (tool > 0) ::waitpid(tool, nullptr, 0);
  }
  ToolOnATerminal(const ToolOnATerminal&) = delete;
  ToolOnATerminal& operator=(const ToolOnATerminal&) = delete;

  // Waits until it has shown this; false when it ended before.
  bool Shows(const std::string& text) {
    while (written.find(text) == std::string::npos) {
      if (!Read()) return false;
    }
    return true;
  }
  // What it has written when it has ended. A line is taken back with "\r\033[K".
  std::string All() {
    while (Read()) {
    }
    return written;
  }

 private:
  bool Read() {
    char bytes[4096];
    const ssize_t count = ::read(terminal, bytes, sizeof bytes);
    if (count > 0) written.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
  }

  int terminal = -1;
  pid_t tool = -1;
  std::string written;
};

TEST(Terminal, ShowsThatTheToolIsAtWorkUntilItHasItsAnswer) {
  const PrivateSession session;
  ToolOnATerminal tool({"ping", "--timeout=600"});
  EXPECT_TRUE(tool.Shows("ping 1 s"));
  EXPECT_TRUE(tool.Shows("ping 2 s"));
  const CommandTaker worker;
  EXPECT_THAT(tool.All(), ContainsRegex(" s\033\\[K\r\033\\[KHB in [0-9]+ ms\r\n$"));
}

TEST(Terminal, ShowsABarWithinALongStepOnOnePicture) {
  const TempFolder folder;
  const std::string screen = (folder.Path() / "screen.png").string(),
                    part = (folder.Path() / "part.png").string();
  cv::imwrite(screen, cv::Mat(6000, 6000, CV_8U, cv::Scalar(90)));
  WriteImage(part);
  // The mode that takes longest, so that the step does so on a fast machine, too.
  ToolOnATerminal tool({"explain", "--target=t", "--name=part:mode=hs", "--path=" + part,
                        "--roi=0,0,6000,6000", "--image=" + screen});
  EXPECT_TRUE(tool.Shows("\rexplain [##########....................]  33 % "));
}

TEST(Terminal, ShowsABarWithinItsWidthUntilTheToolFails) {
  const TempFolder folder;
  ToolOnATerminal tool({"capture", "--target=t", "--delay=3", (folder.Path() / "new.png").string()}, 16);
  EXPECT_TRUE(tool.Shows("\rcapture [######\033[K"));
  EXPECT_THAT(tool.All(), HasSubstr("\r\033[Kquillmarkctl: "));
}

}  // namespace
}  // namespace quillmark::test
