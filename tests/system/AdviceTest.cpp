// lint and tune as a user runs them.
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
  static std::vector<json> Objects(const std::string& lines) {
    std::vector<json> objects;
    for (std::size_t begin = 0; begin < lines.size();) {
      const std::size_t end = lines.find('\n', begin);
      objects.push_back(json::parse(lines.substr(begin, end - begin)));
      begin = end + 1;
    }
    return objects;
  }

  const TempFolder folder;
};

TEST_F(Advice, LintSaysWhatItFoundAndEndsWithThatCode) {
  const Outcome good = Control({"lint", File("ok.png")});
  EXPECT_EQ(good.code, 0);
  EXPECT_EQ(good.out, "Nothing found in 1 spec.\n");
  EXPECT_EQ(good.err, "");

  const Outcome found = Control({"lint", "--path", File("ok.png"), "--name", "ok:hs", "--roi", "0,0,30,40"});
  EXPECT_EQ(found.code, 1);
  EXPECT_EQ(found.out,
            "ok:hs: warning option-ignored: 'hs' is ignored; write mode=hs\n"
            "      The worker does not know an option word or cannot read its number.\n"
            "      So: The option is ignored without a message.\n"
            "      Do: Use msN, fpsN, sq=D, mode=gray, bgr, s, h or hs, mon=primary, mon=N, fast or strict; "
            "an upper-case suffix such as HS must stand alone after the name.\n"
            "ok:hs: note region-tight: region 30 x 40, template 30 x 20\n"
            "      The region is no wider or no taller than the template.\n"
            "      So: A move by one pixel is missed; if the window is scaled or the screen's edge clips the "
            "region, nothing is found.\n"
            "      Do: Leave a few pixels around the template.\n"
            "0 errors, 1 warning, 1 note in 1 spec.\n");
  EXPECT_EQ(Control({"lint", "--path", File("ok.png"), "--name", "ok:hs", "--ignore", "option-ignored"}).code,
            0);
}

TEST_F(Advice, LintPrintsOneObjectALine) {
  Write("bad.png", "no image");
  const Outcome outcome = Control({"lint", "--json", File("ok.png"), File("bad.png")});
  EXPECT_EQ(outcome.code, 1);
  const std::vector<json> objects = Objects(outcome.out);
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_EQ(objects[0]["code"], "image-refused");
  EXPECT_EQ(objects[0]["severity"], "error");
  EXPECT_EQ(objects[0]["spec"], File("bad.png"));
  EXPECT_EQ(objects[0]["other"], nullptr);
  EXPECT_EQ(objects[0]["facts"], (json{{"reason", "image-format"}}));
  EXPECT_EQ(objects[0]["remedy"], "Save the image as PNG.");
  EXPECT_EQ(objects[1],
            (json{{"type", "summary"}, {"specs", 2}, {"errors", 1}, {"warnings", 0}, {"notes", 0}}));
}

TEST_F(Advice, SpecsOfAFileAreLookedAtLikeThoseOfArguments) {
  Write("specs.toml",
        "[defaults]\ntarget = \"t\"\npath = \"ok.png\"\nregion = [0, 0, 30, 20]\n"
        "[[spec]]\nname = \"one\"\n[[spec]]\nname = \"two\"\nregion = [90, 0, 30, 20]\n"
        "[[spec]]\nname = \"bad\"\nmode = \"none\"\n");
  const std::string specs = File("specs.toml");
  const Outcome outcome = Control({"lint", "--json", "--specs", specs});
  EXPECT_EQ(outcome.code, 1) << outcome.err;
  std::vector<std::string> found;
  for (const json& object : Objects(outcome.out)) {
    if (object["type"] == "finding")
      found.push_back(object["spec"].get<std::string>() + ' ' + object["code"].get<std::string>());
  }
  EXPECT_THAT(found, ElementsAre("one region-tight", "two region-tight", "bad entry-at-fault"));
  EXPECT_EQ(Control({"lint", "--specs", specs, "--only=one", "--ignore=region-tight"}).code, 0);

  // Arguments and file say the same, and are answered alike.
  const std::vector<std::string> spec{"--target=t", "--name=one", "--path=" + File("ok.png"),
                                      "--roi=0,0,30,20"};
  for (const std::string command : {"explain", "tune"}) {
    std::vector<std::string> byFile{command, "--specs=" + specs, "--only=one"}, byArguments{command};
    byArguments.insert(byArguments.end(), spec.begin(), spec.end());
    for (auto* arguments : {&byFile, &byArguments}) {
      arguments->push_back(std::string(command == "tune" ? "--positive=" : "--image=") + File("ok.png"));
    }
    const Outcome answer = Control(byFile);
    EXPECT_EQ(answer.code, 0) << answer.err;
    EXPECT_EQ(answer.out, Control(byArguments).out) << command;
  }
}

TEST_F(Advice, TuneDecidesFoldersOfPictures) {
  std::filesystem::create_directory(folder.Path() / "shown");
  std::filesystem::copy_file(File("ok.png"), File("shown/a.png"));
  Write("shown/notes.txt", "no image");
  Write("shown/cut.png", ContentOf(File("ok.png")).substr(0, 60));
  const std::vector<std::string> tune{"tune", "--path", File("ok.png"), "--positive", File("shown")};
  const Outcome text = Control(tune);
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_THAT(text.out, HasSubstr("Positives  1 of 1 are hits\n"));
  EXPECT_THAT(text.out, HasSubstr("Every picture is decided right."));
  EXPECT_THAT(text.err, HasSubstr("cut.png' is damaged; it is left out\n"));
  EXPECT_THAT(text.err, Not(HasSubstr("notes.txt")));

  std::vector<std::string> wrong = tune;
  wrong.insert(wrong.end(), {"--negative", File("ok.png"), "--json"});
  const Outcome outcome = Control(wrong);
  EXPECT_EQ(outcome.code, 1);
  const std::vector<json> objects = Objects(outcome.out);
  ASSERT_EQ(objects.size(), 2u);  // the note and the answer
  EXPECT_EQ(objects[1]["right"], false);
  EXPECT_EQ(objects[1]["pictures"][1]["hit"], true);
  EXPECT_EQ(objects[1]["proposals"], json::array());
  EXPECT_THAT(objects[1]["obstacle"].get<std::string>(), HasSubstr("1 negative"));
}

TEST_F(Advice, BenchMeasuresEachStepAndNamesTheCostliest) {
  Write("specs.toml",
        "[defaults]\ntarget = \"t\"\npath = \"ok.png\"\n"
        "[[spec]]\nname = \"small\"\nregion = [0, 0, 40, 30]\n"
        "[[spec]]\nname = \"large\"\nmode = \"hs\"\nregion = [2000, 0, 400, 300]\n"
        "[[spec]]\nname = \"none\"\nregion = [0, 0, 20, 20]\n");
  const Outcome outcome = Control({"bench", "--json", "--specs", File("specs.toml"), "--seconds=0.01"});
  EXPECT_LE(outcome.code, 1) << outcome.err;
  const std::vector<json> objects = Objects(outcome.out);
  ASSERT_EQ(objects.size(), 5u);
  EXPECT_EQ(objects[0]["w"], 2400);
  EXPECT_EQ(objects[0]["hsv"], true);
  EXPECT_EQ(objects[1]["reason"], nullptr);
  double sum = 0.0;
  std::vector<std::string> steps;
  for (const json& step : objects[1]["steps"]) {
    steps.push_back(step["step"]);
    EXPECT_GE(step["p90"], step["median"]);
    if (steps.size() > 1) sum += step["median"].get<double>();
  }
  EXPECT_THAT(steps, ElementsAre("prepare", "cut", "search", "flat-white", "chroma", "grey-correlation",
                                 "edges", "darkness", "position", "whole"));
  const double whole = objects[1]["steps"].back()["median"];
  EXPECT_GT(whole, 0.0);
  EXPECT_GT(sum - whole, whole * 0.5);  // what makes it up
  EXPECT_LT(sum - whole, whole * 1.5);
  EXPECT_EQ(objects[3]["reason"], "region-too-small");
  EXPECT_EQ(objects[3]["steps"].size(), 1u);
  EXPECT_EQ(objects[4]["costliest"]["spec"], "large:mode=hs");
  EXPECT_EQ(objects[4]["costliest"]["step"], "search");
  EXPECT_EQ(outcome.code, objects[4]["share"] > 1.0 ? 1 : 0);

  const Outcome text =
      Control({"bench", "--path", File("ok.png"), "--image", File("ok.png"), "--seconds=0.01"});
  EXPECT_LE(text.code, 1) << text.err;
  EXPECT_THAT(text.out, HasSubstr("ok.png: 30 x 20 in 30 x 20, a hit\n"));
}

TEST_F(Advice, WrongUseAndUnusableFilesAreClearErrors) {
  Write("bad.png", "no image");
  Write("bad.toml", "[[spec]\n");
  Write("two.toml", "[[spec]]\nname = \"a\"\n[[spec]]\nname = \"b\"\n");
  Write("good.toml",
        "[defaults]\npath = \"p\"\ntarget = \"t\"\nregion = [0, 0, 9, 9]\n[[spec]]\nname = "
        "\"a\"\n[[spec]]\nname = \"b\"\n");
  std::filesystem::create_directory(File("nothing"));
  const struct {
    std::vector<std::string> arguments;
    std::string error;
  } cases[] = {
      {{"lint"}, "nothing to look at"},
      {{"lint", "--name", "n"}, "--path, the template's image, is missing"},
      {{"lint", "--path", "p", "--roi", "1,2,3"}, "--roi '1,2,3'"},
      {{"lint", "--path", "p", "--threshold", "2"}, "--threshold must lie between 0 and 1"},
      {{"lint", File("ok.png"), "--ignore", "none"}, "there is no finding 'none'"},
      {{"lint", File("ok.png"), "--image", File("bad.png")}, "is no image of a known format"},
      {{"lint", File("ok.png"), "--image", folder.Path().string()}, "--image: "},
      {{"lint", File("ok.png"), "--image", File("ok.png"), "--scale", "nan"}, "'nan' is not a number"},
      {{"lint", File("ok.png"), "--scale", "2"}, "--scale requires --image"},
      {{"lint", "--specs", File("none.toml")}, "none.toml cannot be read"},
      {{"lint", "--specs", File("bad.toml")}, "bad.toml, line 1"},
      {{"explain", "--specs", File("two.toml"), "--image", File("ok.png")}, "two.toml, line 1, a: "},
      {{"explain", "--specs", File("two.toml"), "--threshold", "1", "--image", File("ok.png")}, "excludes"},
      {{"explain", "--image", File("ok.png")}, "give a spec"},
      {{"lint", "--specs", File("two.toml"), "--only", "c"}, "declares no spec 'c'"},
      {{"tune", "--specs", File("good.toml"), "--positive", File("ok.png")}, "tune takes one spec"},
      {{"bench"}, "--path, the template's image, is missing"},
      {{"bench", "--path", File("bad.png")}, "not in a known image format"},
      {{"tune", "--positive", File("ok.png")}, "--path, the template's image, is missing"},
      {{"tune", "--path", File("ok.png")}, "there is no picture to decide"},
      {{"tune", "--path", File("bad.png"), "--positive", File("ok.png")},
       "--path: The file is not in a known image format"},
      {{"tune", "--path", File("ok.png"), "--positive", File("bad.png")}, "bad.png' is no image"},
      {{"tune", "--path", File("ok.png"), "--positive", File("none")}, "none' does not exist"},
      {{"tune", "--path", File("ok.png"), "--positive", File("ok.png"), "--negative", File("nothing")},
       "--negative: there is no picture"},
  };
  for (const auto& [arguments, error] : cases) {
    const Outcome outcome = Control(arguments);
    EXPECT_EQ(outcome.code, 2) << ::testing::PrintToString(arguments);
    EXPECT_THAT(outcome.err, HasSubstr(error)) << ::testing::PrintToString(arguments);
    EXPECT_EQ(outcome.out, "");
  }
}

}  // namespace
}  // namespace quillmark::test
