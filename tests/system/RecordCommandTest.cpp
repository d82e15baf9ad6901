// quillmarkctl record on a real screen.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <string>

#include "Programs.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/TempFolder.h"
#include "support/XClient.h"

namespace quillmark::test {
namespace {

using ::testing::HasSubstr;

TEST(RecordCommand, RecordsTheScreenForReplayAndReportsFailures) {
  const PrivateSession session;
  const PrivateDisplay display{400, 300};
  XClient client;
  const TempFolder folder;
  client.Show(50, 40, 100, 80, "a sheet of paper");
  EXPECT_TRUE(
      cv::imwrite((folder.Path() / "white.png").string(), cv::Mat(20, 30, CV_8UC3, cv::Scalar::all(255))));
  const std::string specs = (folder.Path() / "specs.toml").string();
  std::ofstream(specs)
      << "[[spec]]\ntarget = \"sheet\"\nname = \"white\"\npath = \"white.png\"\nregion = [0, 0, 90, 70]\n";
  const auto record = [&](const std::string& seconds, const std::string& event) {
    return Control({"record", "--json", "--out", (folder.Path() / event).string(), "--specs", specs,
                    "--seconds", seconds, "--" + event});
  };

  const Outcome made = record("1", "on-hit");
  EXPECT_EQ(made.code, 0) << made.err;
  EXPECT_THAT(made.out, HasSubstr(R"({"type":"recording","folder":)"));
  const Outcome played = Control({"replay", (folder.Path() / "on-hit").string()});
  EXPECT_EQ(played.code, 0) << played.out << played.err;
  EXPECT_THAT(played.out, HasSubstr("white  at "));

  const Outcome full = record("1", "on-hit");
  EXPECT_EQ(full.code, 2);
  EXPECT_THAT(full.out, HasSubstr("is not empty"));
  const Outcome late = record("0.3", "on-near-miss");
  EXPECT_EQ(late.code, 1);
  EXPECT_THAT(late.out, HasSubstr("timed out: no near miss"));
}

}  // namespace
}  // namespace quillmark::test
