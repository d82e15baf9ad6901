// The whole decision over seeded screen-like images.
#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

#include "core/RegionEvaluation.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

constexpr std::array kModes = {MatchMode::Gray, MatchMode::Bgr, MatchMode::S, MatchMode::H, MatchMode::HS};

// A screen that shows an icon.
struct Scene {
  cv::Mat icon;
  cv::Point at;
  ROIUnit unit;

  explicit Scene(std::uint32_t seed) {
    Random random(seed);
    icon = Icon(random, cv::Size(random.Between(17, 30), random.Between(16, 24)), "Q");
    cv::Mat screen = Screen(random, cv::Size(120, 80));
    at = {random.Between(0, 120 - icon.cols), random.Between(0, 80 - icon.rows)};
    Plant(screen, icon, at);
    unit = UnitShowing(screen);
  }
};

TEST(MatchingScenes, EveryModeFindsAPlantedIconToThePixel) {
  for (std::uint32_t seed = 1000; seed < 1060; ++seed) {
    const Scene scene(seed);
    for (MatchMode mode : kModes) {
      const Verdict v = EvaluateRegion(scene.unit, PreparedSpec(scene.icon, mode));
      EXPECT_TRUE(v.Accepted() && v.loc == scene.at)
          << "seed " << seed << ", mode " << static_cast<int>(mode) << ": " << v.loc << " instead of "
          << scene.at << ", step " << static_cast<int>(v.decidedBy);
    }
  }
}

TEST(MatchingScenes, GrayAndBgrRefuseOtherTextOfTheSameDensityAndInvertedIcons) {
  for (std::uint32_t seed = 2000; seed < 2060; ++seed) {
    Random random(seed);
    const cv::Scalar ground = random.Colour(180, 255), ink = random.Colour(0, 60);
    const cv::Mat wanted = Label({30, 14}, "SAVE", ground, ink);
    const cv::Mat icon = Icon(random, {24, 18}, "Q");
    cv::Mat screen(cv::Size(90, 60), CV_8UC3, ground);
    Plant(screen, Label({30, 14}, "LOAD", ground, ink), {random.Between(0, 50), random.Between(0, 10)});
    Plant(screen, Inverted(icon), {random.Between(0, 60), random.Between(30, 40)});
    const ROIUnit unit = UnitShowing(screen);
    for (MatchMode mode : {MatchMode::Gray, MatchMode::Bgr}) {
      EXPECT_FALSE(EvaluateRegion(unit, PreparedSpec(wanted, mode)).Accepted()) << "text, seed " << seed;
      EXPECT_FALSE(EvaluateRegion(unit, PreparedSpec(icon, mode)).Accepted()) << "icon, seed " << seed;
    }
  }
}

TEST(MatchingScenes, GivesTheSameVerdictsOnFourThreads) {
  std::vector<std::pair<ROIUnit, TemplateSpec>> scenes;
  for (std::uint32_t seed = 3000; seed < 3010; ++seed) {
    const Scene scene(seed);
    for (MatchMode mode : kModes) scenes.emplace_back(scene.unit, PreparedSpec(scene.icon, mode));
  }
  const auto figures = [&](std::size_t at) {
    const Verdict v = EvaluateRegion(scenes[at].first, scenes[at].second, Thoroughness::EveryStep);
    return std::array{v.dist, v.greyCorrelation.figure, v.e1, v.e2, v.hsvMean[0], v.hsvMean[2], v.labAMean};
  };
  std::vector<decltype(figures(0))> alone;
  for (std::size_t i = 0; i < scenes.size(); ++i) alone.push_back(figures(i));

  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < scenes.size(); ++i) {
        const std::size_t at = (i + t * 7) % scenes.size();  // each thread in another order
        EXPECT_EQ(figures(at), alone[at]);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace quillmark::testing
