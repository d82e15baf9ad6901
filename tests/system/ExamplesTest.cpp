// The example controllers with a real worker on a real screen.
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "Apps.h"
#include "Programs.h"
#include "support/Eventually.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

class Example : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(Example, PrintsHitsEventsAndNewsAboutTheWorker) {
  const PrivateSession session;
  PrivateDisplay display;
  display.StartWindowManager();
  const TempFolder folder;
  const App calculator({"xcalc"});
  calculator.Move(100, 100);
  const auto templateOf = [&](const std::string& name, const cv::Rect& piece) {
    const std::string path = (folder.Path() / name).string();
    cv::imwrite(path, Screenshot(piece + calculator.ClientArea().tl()));
    return path;
  };
  const std::string thing = templateOf("thing.png", {48, 78, 84, 56});
  const std::string witness = templateOf("witness.png", {20, 210, 180, 60});
  const App cover({"xterm", "-geometry", "12x4+700+300"});

  std::vector<std::string> command = GetParam();
  command.insert(command.end(), {"xcalc.exe", thing, "0,0,300,500", witness});
  Program example(command);
  auto worker = std::make_unique<Worker>();
  std::size_t read = 0;  // each text must follow the previous one
  const auto prints = [&](const std::string& text) {
    std::size_t at = std::string::npos;
    Eventually([&] {
      calculator.Stir();
      at = example.Out().find(text, read);
      return at != std::string::npos || example.Ended();
    });
    if (at != std::string::npos) read = at + text.size();
    return at != std::string::npos;
  };

  ASSERT_TRUE(prints("hit thing at 90,106 score 1")) << example.Out() << example.Err();
  EXPECT_TRUE(prints("event thing stable at 90,106")) << example.Out() << example.Err();

  const cv::Rect area = calculator.ClientArea();
  cover.Move(area.x + 40, area.y + 60);
  cover.Raise();
  EXPECT_TRUE(prints("event thing lost at 90,106")) << example.Out() << example.Err();
  cover.Move(700, 300);
  EXPECT_TRUE(prints("event thing appeared at 90,106")) << example.Out() << example.Err();

  worker->Kill();
  EXPECT_TRUE(prints("event thing unknown")) << example.Out() << example.Err();
  worker = std::make_unique<Worker>();
  EXPECT_TRUE(prints("hit thing at 90,106")) << example.Out() << example.Err();

  ASSERT_FALSE(example.Ended()) << example.Err();
  ::kill(example.Pid(), SIGINT);
  EXPECT_EQ(example.Wait(), 0) << example.Err();
}

INSTANTIATE_TEST_SUITE_P(Languages, Example,
                         testing::Values(std::vector<std::string>{EXAMPLE_CPP},
                                         std::vector<std::string>{"env", "PYTHONPATH=" EXAMPLE_PYTHON_PATH,
                                                                  EXAMPLE_PYTHON, "-B", EXAMPLE_PYTHON_FILE}),
                         [](const auto& example) { return example.index == 0 ? "Cpp" : "Python"; });

}  // namespace
}  // namespace quillmark::test
