// What a client's typed spec becomes in the worker's own store: the two sides agree on what it means.
#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <optional>

#include "client/Spec.h"
#include "specs/SpecStore.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

using client::Mode;
using client::Preset;
using client::Spec;

class SpecMeaning : public testing::Test {
 protected:
  SpecMeaning() {
    cv::setNumThreads(1);
    path = (folder.Path() / "a.png").string();
    cv::imwrite(path, cv::Mat(8, 8, CV_8UC3, cv::Scalar(10, 200, 10)));
  }
  ~SpecMeaning() override { ClearSpecs(L"test"); }

  // The worker's spec after the command was sent as its record says.
  TemplateSpec Received(const std::function<void(Spec&)>& change) const {
    Spec spec{.target = "t", .name = "base", .path = path, .width = 10, .height = 10};
    change(spec);
    const client::Command command = client::CommandFor(spec);
    ClearSpecs(L"test");
    LoadSpec(command.target, command.name, command.path, command.roiX, command.roiY, command.roiW,
             command.roiH, command.edgeMin, command.threshold);
    const std::lock_guard lock(Specs().specMutex);
    EXPECT_EQ(Specs().specs.size(), 1u);
    return Specs().specs.at(0);
  }

  const TempFolder folder;
  std::string path;
};

TEST_F(SpecMeaning, LimitsArriveAsWhatTheyAreCalled) {
  struct Case {
    std::optional<double> maxDifference, minScore;
    Preset preset;
    double maxDiff, minimum;
  };
  for (const Case& c : std::initializer_list<Case>{{{}, {}, Preset::None, 0.1, 0.0},
                                                   {0.0, {}, Preset::None, 0.0, 0.0},
                                                   {0.5, {}, Preset::None, 0.5, 0.0},
                                                   {0.75, {}, Preset::None, 0.75, 0.0},
                                                   {{}, 0.75, Preset::None, 0.1, 0.75},
                                                   {0.25, 0.75, Preset::None, 0.25, 0.75},
                                                   {{}, {}, Preset::Fast, 0.2, 0.0},
                                                   {0.125, {}, Preset::Fast, 0.125, 0.0},
                                                   {{}, {}, Preset::Strict, 0.08, 0.0},
                                                   {0.5, {}, Preset::Strict, 0.5, 0.0},
                                                   {0.5, 0.75, Preset::Strict, 0.5, 0.75}}) {
    const TemplateSpec spec = Received([&](Spec& sent) {
      sent.maxDifference = c.maxDifference;
      sent.minScore = c.minScore;
      sent.preset = c.preset;
    });
    EXPECT_EQ(spec.maxDiff, c.maxDiff) << c.maxDifference.value_or(-1) << ' ' << c.minScore.value_or(-1);
    EXPECT_EQ(spec.minScore, c.minimum) << c.maxDifference.value_or(-1) << ' ' << c.minScore.value_or(-1);
  }
}

TEST_F(SpecMeaning, OptionsHaveTheLastWordOverThePreset) {
  const TemplateSpec spec = Received([](Spec& sent) {
    sent.preset = Preset::Strict;
    sent.mode = Mode::Gray;
    sent.intervalMs = 7;
  });
  EXPECT_EQ(spec.name, L"base");
  EXPECT_EQ(spec.mode, MatchMode::Gray);
  EXPECT_EQ(spec.intervalMs, 7);
  EXPECT_TRUE(spec.colorGate);
  EXPECT_FALSE(spec.redHint);
}

TEST_F(SpecMeaning, EachModeMonitorAndRedArrive) {
  const std::pair<Mode, MatchMode> modes[] = {{Mode::Unset, MatchMode::Gray}, {Mode::Gray, MatchMode::Gray},
                                              {Mode::Bgr, MatchMode::Bgr},    {Mode::S, MatchMode::S},
                                              {Mode::H, MatchMode::H},        {Mode::HS, MatchMode::HS}};
  for (const auto& [sent, received] : modes) {
    EXPECT_EQ(Received([sent = sent](Spec& spec) { spec.mode = sent; }).mode, received);
  }
  EXPECT_EQ(Received([](Spec& spec) { spec.monitor = -1; }).monitorPin, -1);
  EXPECT_EQ(Received([](Spec& spec) { spec.monitor = 3; }).monitorPin, 3);
  EXPECT_TRUE(Received([](Spec& spec) { spec.red = true; }).redHint);
}

TEST_F(SpecMeaning, EveryNthFrameIsTheWorkersDivisor) {
  for (const int nth : {2, 3, 4, 5, 6, 8, 10, 15, 30}) {
    EXPECT_EQ(Received([&](Spec& spec) { spec.everyNthFrame = nth; }).frameDivisor, nth);
  }
}

}  // namespace
}  // namespace quillmark::test
