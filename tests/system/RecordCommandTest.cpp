// quillmarkctl record on a real screen.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "Programs.h"
#include "replay/Recording.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/XClient.h"

namespace quillmark::test {
namespace {

using ::testing::HasSubstr;

class RecordCommand : public ::testing::Test {
 protected:
  Outcome Record(std::vector<std::string> options) {
    options.insert(options.begin(), {"record", "--out", recording.string()});
    return Control(std::move(options));
  }
  // Options for a spec that matches a white area in the window "sheet".
  std::vector<std::string> Spec(std::vector<std::string> options) {
    const std::string image = (folder.Path() / "white.png").string();
    EXPECT_TRUE(cv::imwrite(image, cv::Mat(20, 30, CV_8UC3, cv::Scalar::all(255))));
    options.insert(options.end(), {"--target=sheet", "--name=white", "--path=" + image, "--roi=0,0,90,70"});
    return options;
  }

  const PrivateSession session;
  const PrivateDisplay display{400, 300};
  XClient client;
  const TempFolder folder;
  const std::filesystem::path recording = folder.Path() / "recording";
};

TEST_F(RecordCommand, RecordsTheScreenForReplay) {
  client.Show(50, 40, 100, 80, "a sheet of paper");
  std::ofstream(folder.Path() / "specs.toml")
      << "[[spec]]\ntarget = \"sheet\"\nname = \"white\"\npath = \"white.png\"\nregion = [0, 0, 90, 70]\n";
  for (const std::vector<std::string>& options :
       {Spec({"--seconds=1", "--json"}),
        {"--seconds=1", "--json", "--on-hit", "--specs=" + (folder.Path() / "specs.toml").string()}}) {
    const Outcome made = Record(options);
    EXPECT_EQ(made.code, 0) << made.err;
    EXPECT_THAT(made.out, HasSubstr(R"({"type":"recording","folder":)"));
    const replay::Recording read = replay::ReadRecording(recording);
    const replay::RecordedWindow& window = read.windows.at(0).windows.at(0);
    EXPECT_EQ(window.title, L"a sheet of paper");
    EXPECT_EQ(window.client, (Rect{50, 40, 150, 120}));
    const Outcome played = Control({"replay", recording.string()});
    EXPECT_EQ(played.code, 0) << played.out << played.err;
    EXPECT_THAT(played.out, HasSubstr("white  at "));
    std::filesystem::remove_all(recording);
  }
}

TEST_F(RecordCommand, ReportsFailures) {
  const Outcome late = Record(Spec({"--seconds=0.3", "--on-near-miss"}));
  EXPECT_EQ(late.code, 1);
  EXPECT_THAT(late.err, HasSubstr("timed out: no near miss"));
  const Outcome full = Control({"record", "--out", folder.Path().string()});
  EXPECT_EQ(full.code, 2);
  EXPECT_THAT(full.err, HasSubstr("is not empty"));
}

}  // namespace
}  // namespace quillmark::test
