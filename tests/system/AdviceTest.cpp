// lint, tune, bench and explain on files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Programs.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class Advice : public ::testing::Test {
 protected:
  Advice() { WriteImage(File("ok.png")); }
  std::string File(const std::string& name) const { return (folder.Path() / name).string(); }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder.Path() / name, std::ios::binary) << bytes;
  }
  static std::vector<json> Objects(const std::string& text) {
    std::vector<json> objects;
    for (const std::string& line : LinesOf(text)) objects.push_back(json::parse(line));
    return objects;
  }

  const TempFolder folder;
};

TEST_F(Advice, LintPrintsFindingsAndExitsAccordingly) {
  EXPECT_EQ(Control({"lint", File("ok.png")}).out, "No problems found in 1 spec.\n");
  const Outcome found = Control({"lint", "--path", File("ok.png"), "--name", "ok:hs"});
  EXPECT_EQ(found.code, 1);
  EXPECT_EQ(found.out,
            "ok:hs: warning option-ignored: 'hs' is ignored; write mode=hs\n"
            "      The worker does not know an option word or cannot read its number.\n"
            "      Effect: The option is ignored without a message.\n"
            "      Fix: Use msN, fpsN, sq=D, mode=gray, bgr, s, h or hs, mon=primary, mon=N, fast or strict; "
            "an upper-case suffix such as HS must stand alone after the name.\n"
            "0 errors, 1 warning, 0 notes in 1 spec.\n");

  Write("bad.png", "no image");
  const Outcome lines = Control({"lint", "--json", File("ok.png"), File("bad.png")});
  EXPECT_EQ(lines.code, 1);
  const std::vector<json> objects = Objects(lines.out);
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_EQ(objects[0]["facts"], (json{{"reason", "image-format"}}));
  EXPECT_EQ(objects[1]["errors"], 1);
}

TEST_F(Advice, CodecsPrintNothingAboutADamagedImage) {
  WriteImage(File("ok.jpg"));
  const std::string png = ContentOf(File("ok.png")), jpeg = ContentOf(File("ok.jpg"));
  Write("cut.png", png.substr(0, png.size() / 2));
  Write("extra.jpg", std::string(jpeg).insert(jpeg.size() - 2, 9, '\x55'));  // is read with a warning
  Write("cut.ppm", "P6 9 9 255\n");
  for (const char* name : {"cut.png", "extra.jpg", "cut.ppm"}) {
    const Outcome lint = Control({"lint", File(name)});
    EXPECT_EQ(lint.out.find("cannot be decoded. (" + File(name) + ")") == std::string::npos,
              name == std::string("extra.jpg"))
        << lint.out;
    EXPECT_EQ(lint.err, "") << name;
  }
}

TEST_F(Advice, SpecsInAFileAreHandledLikeArguments) {
  Write("specs.toml",
        "[defaults]\ntarget = \"t\"\npath = \"ok.png\"\nregion = [0, 0, 30, 20]\n"
        "[[spec]]\nname = \"one\"\n[[spec]]\nname = \"two\"\nregion = [90, 0, 30, 20]\n"
        "[[spec]]\nname = \"bad\"\nmode = \"none\"\n");
  const std::string specs = "--specs=" + File("specs.toml"), image = "--image=" + File("ok.png");
  const Outcome lint = Control({"lint", "--json", specs});
  EXPECT_EQ(lint.code, 1) << lint.err;
  std::vector<std::string> found;
  for (const json& object : Objects(lint.out))
    found.push_back(object.value("spec", "") + object.value("code", ""));
  EXPECT_THAT(found, ElementsAre("oneregion-tight", "tworegion-tight", "badentry-at-fault", ""));
  EXPECT_EQ(Control({"lint", specs, "--only=one", "--ignore=region-tight"}).code, 0);

  const Outcome byFile = Control({"explain", specs, "--only=one", image, "--html=" + File("page.html")});
  EXPECT_EQ(byFile.code, 0) << byFile.err;
  EXPECT_THAT(byFile.out, HasSubstr("\n\nA hit: 30 x 20 pixels around 0,0"));
  EXPECT_EQ(ContentOf(File("page.html")).find("<!doctype html>"), 0u);
  std::vector<std::string> byArguments{
      "explain", "--target=t", "--name=one", "--path=" + File("ok.png"), "--roi=0,0,30,20", image};
  EXPECT_EQ(Control(byArguments).out, byFile.out);
  byArguments.insert(byArguments.end(), {"--client=-9,0,30,20", "--json"});
  const Outcome no = Control(byArguments);
  EXPECT_EQ(no.code, 1) << no.err;
  EXPECT_EQ(json::parse(no.out)["reason"], "region-too-small");
}

TEST_F(Advice, TuneReadsFoldersOfScreenshots) {
  std::filesystem::create_directory(folder.Path() / "shown");
  std::filesystem::copy_file(File("ok.png"), File("shown/a.png"));
  Write("shown/notes.txt", "no image");
  Write("shown/cut.png", ContentOf(File("ok.png")).substr(0, 60));
  std::vector<std::string> tune{"tune", "--path", File("ok.png"), "--positive", File("shown")};
  const Outcome text = Control(tune);
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_THAT(text.out, AllOf(HasSubstr("Positives  1 of 1 are hits\n"),
                              HasSubstr("Every screenshot is decided correctly.")));
  EXPECT_THAT(text.err, AllOf(HasSubstr("cut.png': The file starts"), Not(HasSubstr("notes.txt"))));

  tune.insert(tune.end(), {"--negative", File("ok.png"), "--json"});
  const Outcome wrong = Control(tune);
  EXPECT_EQ(wrong.code, 1);
  const std::vector<json> objects = Objects(wrong.out);
  ASSERT_EQ(objects.size(), 2u);  // the note and the answer
  EXPECT_EQ(objects[1]["right"], false);
}

TEST_F(Advice, BenchMeasuresEachStepAndNamesTheCostliest) {
  Write("specs.toml",
        "[defaults]\ntarget = \"t\"\npath = \"ok.png\"\n"
        "[[spec]]\nname = \"small\"\nregion = [0, 0, 40, 30]\n"
        "[[spec]]\nname = \"large\"\nmode = \"hs\"\nregion = [2000, 0, 400, 300]\n"
        "[[spec]]\nname = \"none\"\nregion = [0, 0, 20, 20]\n");
  const Outcome outcome = Control({"bench", "--json", "--specs", File("specs.toml"), "--seconds=0.01"});
  const std::vector<json> objects = Objects(outcome.out);
  ASSERT_EQ(objects.size(), 5u) << outcome.err;
  EXPECT_EQ(objects[0]["w"], 2400);
  for (const json& step : objects[1]["steps"]) EXPECT_GE(step["p90"], step["median"]);
  EXPECT_GT(objects[1]["steps"].back()["median"], 0.0);
  EXPECT_EQ(objects[3]["reason"], "region-too-small");
  EXPECT_EQ(objects[4]["costliest"]["spec"], "large:mode=hs");
  EXPECT_EQ(objects[4]["costliest"]["step"], "search");
  EXPECT_EQ(outcome.code, objects[4]["share"] > 1.0 ? 1 : 0);
}

}  // namespace
}  // namespace quillmark::test
