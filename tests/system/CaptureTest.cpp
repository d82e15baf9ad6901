// quillmarkctl capture on a real screen, compared with the X server's pixels and the worker's hits.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "Apps.h"
#include "Programs.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

using Json = nlohmann::json;

class Capture : public testing::Test {
 protected:
  Capture() { display.StartWindowManager(); }

  std::string File(const std::string& name) const { return (folder.Path() / name).string(); }
  static std::string PlaceOf(cv::Point p) { return std::to_string(p.x) + " " + std::to_string(p.y); }

  const PrivateSession session;
  PrivateDisplay display;
  const TempFolder folder;
  const cv::Rect piece{48, 78, 84, 56};
};

TEST_F(Capture, SavedAreaEqualsTheScreenAndIsFoundByTheWorker) {
  const App xcalc({"xcalc"});
  const cv::Mat shown = Screenshot(piece + xcalc.ClientArea().tl());
  const Outcome outcome =
      Control({"capture", "--json", "--target=xcalc.exe", "--rect=48,78,84,56", File("sin.png")});
  ASSERT_EQ(outcome.code, 0) << outcome.out << outcome.err;
  std::vector<Json> lines;
  for (const std::string& line : LinesOf(outcome.out)) lines.push_back(Json::parse(line));
  const Json& result = lines.front();
  EXPECT_EQ(result["roi"], Json({{"x", 32}, {"y", 62}, {"w", 116}, {"h", 88}}));
  EXPECT_EQ(cv::norm(cv::imread(File("sin.png")), shown, cv::NORM_INF), 0.0);
  EXPECT_EQ(lines.end()[-2]["type"], "summary");
  EXPECT_EQ(lines.end()[-2]["errors"], 0);
  EXPECT_EQ(lines.back()["type"], "explanation");
  EXPECT_EQ(lines.back()["hit"], true);
  EXPECT_EQ(lines.back()["best"]["difference"], 0.0);

  const Worker worker;
  std::vector<std::string> command = result["command"];
  command.erase(command.begin());
  command.push_back("--timeout=60");
  ASSERT_EQ(Control(command).code, 0);
  Program watch(ControlCommand({"watch", "--json", "--count=1", "--timeout=60"}));
  ASSERT_TRUE(Eventually([&] {
    xcalc.Stir();
    return watch.Ended();
  }));
  const Json hit = Json::parse(watch.Out());
  EXPECT_EQ(hit["name"], "sin");
  EXPECT_EQ(hit["cx"], piece.x + piece.width / 2);
  EXPECT_EQ(hit["cy"], piece.y + piece.height / 2);
}

TEST_F(Capture, DrawnRectangleGivesTheSameAreaAndCancellingOrFailureKeepsTheFile) {
  Program given(ControlCommand({"capture", "--pick", File("a.png")}));
  ASSERT_TRUE(given.Says("draw"));
  Shell("xdotool key Escape");
  EXPECT_EQ(given.Wait(), 1);
  EXPECT_FALSE(std::filesystem::exists(File("a.png")));
  WriteImage(File("there.png"));
  const std::string before = ContentOf(File("there.png"));
  EXPECT_EQ(Control({"capture", "--target=nobody", File("there.png")}).code, 2);
  EXPECT_EQ(ContentOf(File("there.png")), before);

  const App xcalc({"xcalc"});
  const cv::Point corner = piece.tl() + xcalc.ClientArea().tl();
  const cv::Mat shown = Screenshot(piece + xcalc.ClientArea().tl());
  Program capture(ControlCommand({"capture", "--pick", File("sin.png")}));
  ASSERT_TRUE(capture.Says("draw"));
  Shell("xdotool mousemove " + PlaceOf(corner) + " mousedown 1 mousemove " +
        PlaceOf(corner + cv::Point(20, 20)) + " mousemove " +
        PlaceOf(corner + piece.br() - piece.tl() - cv::Point(1, 1)) + " mouseup 1");
  ASSERT_EQ(capture.Wait(), 0) << capture.Out() << capture.Err();
  EXPECT_NE(capture.Out().find("--target xcalc.exe "), std::string::npos) << capture.Out();
  EXPECT_EQ(cv::norm(cv::imread(File("sin.png")), shown, cv::NORM_INF), 0.0);
}

}  // namespace
}  // namespace quillmark::test
