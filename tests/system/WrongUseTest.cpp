// Invalid calls of the control tool: each prints the error, does nothing and exits with 2.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word == "''" ? "" : word);
  return words;
}

std::string Add(const std::string& target, const std::string& name, const std::string& path,
                const std::string& more) {
  return "add --target " + target + " --name " + name + " --path " + path + " --roi " + more;
}

TEST(WrongUse, IsReportedBeforeAnythingHappens) {
  const TempFolder folder;
  const auto write = [&](const char* name, const char* text) { std::ofstream(folder.Path() / name) << text; };
  WriteImage(folder.Path() / "ok.png");
  cv::imwrite((folder.Path() / "deep.png").string(), cv::Mat(9, 9, CV_16UC1, cv::Scalar(9)));
  write("bad.png", "no image");
  write("two.toml", "[[spec]]\nname = \"a\"\n[[spec]]\nname = \"b\"\n");
  write("good.toml",
        "[defaults]\npath = \"p\"\ntarget = \"t\"\nregion = [0, 0, 9, 9]\n[[spec]]\nname = \"a\"\n"
        "[[spec]]\nname = \"b\"\n");
  std::filesystem::create_directory(folder.Path() / "empty");
  const std::string roi = "0,0,9,9", x16(16, 'x'), x31(31, 'x'), x32(32, 'x'), x64(64, 'x');
  const std::string explain = "explain --target t --name n --path ok.png --roi 0,0,9,9 ";
  const struct {
    std::string line, error;
  } cases[] = {
      {"", ""},
      {Add(x16 + "x", "n", "p", roi), "target"},
      {Add("t", "n:" + x31, "p", roi), "name"},
      {Add("t", "n", "p😀" + x64.substr(2), roi), "path"},
      {Add("''", "n", "p", roi), "target"},
      {Add("t", "n", "p", "0,0,1"), "--roi '0,0,1'"},
      {Add("t", "n", "p", "0,0,0,1"), ""},
      {Add("t", "n", "p", roi + " --threshold 1.5"), "--threshold must be between 0 and 1"},
      {Add("t", "n", "p", roi + " --edge-min nan"), "--edge-min"},
      {"ping " + x32, ""},
      {"ping --timeout=nan", "--timeout"},
      {"wait n:fps10 --stable=0", ""},
      {"lint", "nothing to check"},
      {"lint ok.png --ignore none", "unknown finding 'none'"},
      {"lint ok.png --image bad.png", "bad.png': The file is not in a known"},
      {"lint ok.png --image ok.png --scale nan", "'nan' is not a number"},
      {"lint --specs two.toml --only c", "has no spec 'c'"},
      {"tune --specs good.toml --positive ok.png", "tune takes one spec"},
      {"tune --path ok.png", "no screenshots given: use --positive or --negative"},
      {"tune --path bad.png --positive ok.png", "--path: The file is not in a known"},
      {"tune --path ok.png --positive bad.png", "bad.png': The file is not"},
      {"tune --path ok.png --positive ok.png --negative empty", "--negative: no screenshot found"},
      {"explain --image ok.png", "give a spec"},
      {"explain --specs two.toml --image ok.png", "two.toml, line 1, a: "},
      {explain, ""},
      {explain + "--image deep.png", "deep.png"},
      {explain + "--image ok.png --client 1,2,0,3", "--client"},
      {explain + "--image ok.png --client 2147483647,2,2147483647,3", "--client"},
      {explain + "--image ok.png --html no/such/folder/page.html", "page.html"},
      {"capture --target nobody --rect 1,2,3 new.png", "--rect"},
      {"capture --target nobody new:name.png", ""},
      {"record --on-hit --out new", "need a spec"},
  };
  const PrivateSession session;
  const RawController rings;
  for (const auto& [line, error] : cases) {
    Program tool(ControlCommand(Words(line)), folder.Path());
    EXPECT_EQ(tool.Wait(), 2) << line;
    EXPECT_NE(tool.Err(), "") << line;
    EXPECT_NE(tool.Err().find(error), std::string::npos) << line << '\n' << tool.Err();
    EXPECT_EQ(tool.Out(), "") << line;
  }
  EXPECT_EQ(rings.CommandWord(WriteIndex), 0u);
  for (const char* name : {"new", "new.png"}) EXPECT_FALSE(std::filesystem::exists(folder.Path() / name));
}

}  // namespace
}  // namespace quillmark::test
