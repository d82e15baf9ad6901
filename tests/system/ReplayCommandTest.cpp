// quillmarkctl replay: output and exit codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Programs.h"
#include "unit/replay/Scene.h"

namespace quillmark::test {
namespace {

using replay::Scene;
using ::testing::HasSubstr;

class ReplayCommand : public ::testing::Test {
 protected:
  ReplayCommand() : scene(replay::GoldenScene()) {
    scene->Write(replay::RecordingFile, TextOf(scene->recording));
  }
  Outcome Play(std::vector<std::string> options = {}) const {
    options.insert(options.begin(), {"replay", scene->Folder().string()});
    return Control(options);
  }
  const std::unique_ptr<Scene> scene;
};

TEST_F(ReplayCommand, PrintsHitsAndReasonsForSilence) {
  const Outcome text = Play();
  EXPECT_EQ(text.code, 0) << text.err;
  for (const char* part : {"   0.416 s  label  at 100,119  size 60x18  score 1.000  edge 1.000  in f2.png\n",
                           "absent: no hit, grey-correlation.", "20 hits, 10 of 10 frames processed\n"}) {
    EXPECT_THAT(text.out, HasSubstr(part));
  }
  std::vector<std::string> types;
  for (const std::string& line : LinesOf(Play({"--json"}).out))
    types.push_back(nlohmann::json::parse(line).at("type"));
  std::vector<std::string> expected(20, "hit");
  expected.insert(expected.end(), 6, "spec");
  expected.push_back("replay");
  EXPECT_EQ(types, expected);
}

TEST_F(ReplayCommand, ChecksAgainstTheAcceptedResult) {
  EXPECT_EQ(Play({"--check"}).code, 2) << "no expected result";
  EXPECT_EQ(Play({"--accept"}).code, 0);
  EXPECT_EQ(Play({"--check"}).code, 0);
  scene->recording.specs.erase(scene->recording.specs.begin());
  scene->Write(replay::RecordingFile, TextOf(scene->recording));
  const Outcome outcome = Play({"--check"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_THAT(outcome.out, HasSubstr("missing: {\"name\":\"icon\",\"t\":416"));
  EXPECT_THAT(outcome.out, HasSubstr("not as expected"));
}

TEST_F(ReplayCommand, ExitsWith1WithoutHitsAndWith2OnErrors) {
  scene->Write("f4.png", "no picture");
  const Outcome fault = Play();
  EXPECT_EQ(fault.code, 2);
  EXPECT_THAT(fault.out, HasSubstr("f4.png: The file is not in a known image format"));
  scene->recording.frames.clear();
  scene->Write(replay::RecordingFile, TextOf(scene->recording));
  EXPECT_EQ(Play().code, 1);
}

}  // namespace
}  // namespace quillmark::test
