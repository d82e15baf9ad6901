// The command explain as a process: its answers, exit codes and what it refuses.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "Programs.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

class ExplainCommand : public testing::Test {
 protected:
  ExplainCommand() {
    cv::Mat screen(100, 160, CV_8UC3);
    cv::RNG(1).fill(screen, cv::RNG::UNIFORM, 0, 256);
    cv::imwrite(File("screen.png"), screen);
    cv::imwrite(File("part.png"), screen(cv::Rect(70, 40, 40, 30)));
    cv::imwrite(File("deep.png"), cv::Mat(9, 9, CV_16UC1, cv::Scalar(9)));
    std::ofstream(File("text.png")) << "no picture";
  }

  std::string File(const std::string& name) const { return (folder.Path() / name).string(); }
  // explain of part.png with these arguments.
  Outcome Explain(const std::vector<std::string>& more) {
    std::vector<std::string> arguments{"explain", "--target=t", "--name=part", "--path=" + File("part.png"),
                                       "--roi=0,0,160,100"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Control(arguments);
  }

  const TempFolder folder;
};

TEST_F(ExplainCommand, SaysYesOrNoByItsExitCode) {
  const Outcome hit = Explain({"--image", File("screen.png")});
  EXPECT_EQ(hit.code, 0) << hit.err;
  EXPECT_NE(hit.out.find("\n\nA hit: 40 x 30 pixels around 90,55"), std::string::npos) << hit.out;
  const Outcome no = Explain({"--image", File("screen.png"), "--client", "-60,0,150,100", "--json"});
  EXPECT_EQ(no.code, 1) << no.err;
  EXPECT_EQ(nlohmann::json::parse(no.out)["reason"], "difference");
}

TEST_F(ExplainCommand, WritesThePage) {
  EXPECT_EQ(Explain({"--image", File("screen.png"), "--html", File("page.html")}).code, 0);
  EXPECT_EQ(ContentOf(File("page.html")).find("<!doctype html>"), 0u);
}

TEST_F(ExplainCommand, RefusesWhatItCannotLookAt) {
  const std::vector<std::vector<std::string>> wrong{
      {},
      {"--live", "--image", File("screen.png")},
      {"--image", File("none.png")},
      {"--image", File("text.png")},
      {"--image", File("deep.png")},
      {"--image", File("screen.png"), "--client", "1,2,3"},
      {"--image", File("screen.png"), "--client", "1,2,0,3"},
      {"--image", File("screen.png"), "--client", "2147483647,2,2147483647,3"},
      {"--image", File("screen.png"), "--scale", "0"},
      {"--image", File("screen.png"), "--scale", "nan"},
      {"--live", "--client", "1,2,3,4"},
      {"--image", File("screen.png"), "--html", File("no/such/folder/page.html")},
  };
  for (const std::vector<std::string>& arguments : wrong) {
    const Outcome outcome = Explain(arguments);
    EXPECT_EQ(outcome.code, 2) << testing::PrintToString(arguments) << outcome.out;
    EXPECT_FALSE(outcome.err.empty()) << testing::PrintToString(arguments);
  }
}

}  // namespace
}  // namespace quillmark::test
