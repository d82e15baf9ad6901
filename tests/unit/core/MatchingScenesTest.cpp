// The whole decision over seeded screen-like images.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <thread>
#include <vector>

#include "core/RegionEvaluation.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

constexpr std::array kModes = {MatchMode::Gray, MatchMode::Bgr, MatchMode::S, MatchMode::H, MatchMode::HS};

// A screen that shows the template, a look-alike of it, or neither, and the spec that looks for it.
struct Scene {
  ROIUnit unit;
  TemplateSpec spec;
  cv::Point planted;
};

enum Appearance { Exact, Noisy, HueShifted, OtherLetters, Upended, Dimmed, Absent, kAppearances };

cv::Mat Appear(Random& random, Appearance appearance, const cv::Mat& tmpl, const cv::Mat& otherLetters) {
  switch (appearance) {
    case Noisy:
      return WithNoise(random, tmpl, random.Between(2, 40));
    case HueShifted:
      return WithHueShift(tmpl, random.Between(4, 90));
    case OtherLetters:
      return otherLetters;
    case Upended:
      return Inverted(tmpl);
    case Dimmed:
      return tmpl * (random.Between(50, 95) / 100.0);
    default:
      return tmpl;
  }
}

Scene MakeScene(std::uint32_t seed, Appearance appearance) {
  Random random(seed * 64 + appearance);
  const cv::Size size(random.Between(12, 24), random.Between(10, 18));
  cv::Mat tmpl, otherLetters;
  switch (random.Between(0, 3)) {
    case 0: {
      const cv::Scalar ground = random.Colour(), ink = random.Colour();
      tmpl = Label(size, random.Letters(3), ground, ink);
      otherLetters = Label(size, random.Letters(3), ground, ink);
      break;
    }
    case 1: {  // nearly flat, now and then blank white
      const cv::Scalar ground = random.OneIn(3) ? cv::Scalar::all(252) : random.Colour();
      tmpl = WithNoise(random, cv::Mat(size, CV_8UC3, ground), random.Between(0, 4));
      otherLetters = Label(size, random.Letters(1), ground, random.Colour());
      break;
    }
    default: {
      Random same = random;
      tmpl = Icon(random, size, "Q");
      otherLetters = Icon(same, size, "W");
    }
  }
  Scene scene;
  cv::Mat screen = Screen(random, cv::Size(random.Between(48, 64), random.Between(36, 48)));
  if (appearance != Absent) {
    scene.planted = {random.Between(0, screen.cols - size.width),
                     random.Between(0, screen.rows - size.height)};
    Plant(screen, Appear(random, appearance, tmpl, otherLetters), scene.planted);
  }
  scene.unit = UnitShowing(screen);
  scene.unit.clipped = random.OneIn(4);
  scene.unit.x = random.Between(-500, 500);
  scene.unit.y = random.Between(-500, 500);
  scene.unit.scaleX = scene.unit.scaleY = random.Between(0, 4) * 0.25 + 1.0;
  scene.spec = PreparedSpec(tmpl);
  scene.spec.targetRect = {-500, -500, 300, 400};
  scene.spec.maxDiff = random.Between(5, 60) / 100.0;
  scene.spec.minScore = random.OneIn(3) ? random.Between(50, 95) / 100.0 : 0.0;
  scene.spec.edgeMin = random.Between(30, 80) / 100.0;
  scene.spec.edgeMinFloor = random.Between(30, 66) / 100.0;
  scene.spec.redHint = random.OneIn(4);
  scene.spec.colorGate = scene.spec.redHint || random.OneIn(5);
  scene.spec.chromaChannel = random.OneIn(3) ? random.Between(1, 3) : 0;
  scene.spec.intervalMs = random.OneIn(2) ? random.Between(1, 9) * 10 : 0;
  return scene;
}

TEST(MatchingScenes, EveryModeFindsAPlantedIconToThePixel) {
  for (std::uint32_t seed = 1000; seed < 1060; ++seed) {
    Random random(seed);
    const cv::Mat icon = Icon(random, cv::Size(random.Between(17, 30), random.Between(16, 24)), "Q");
    cv::Mat screen = Screen(random, cv::Size(120, 80));
    const cv::Point at(random.Between(0, 120 - icon.cols), random.Between(0, 80 - icon.rows));
    Plant(screen, icon, at);
    const ROIUnit unit = UnitShowing(screen);
    for (MatchMode mode : kModes) {
      const Verdict v = EvaluateRegion(unit, PreparedSpec(icon, mode));
      EXPECT_TRUE(v.Accepted() && v.loc == at)
          << "seed " << seed << ", mode " << static_cast<int>(mode) << ": " << v.loc << " instead of " << at
          << ", step " << static_cast<int>(v.decidedBy) << ", difference " << v.dist;
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

int Measured(const Verdict& v) {
  return static_cast<int>(
      std::ranges::count_if(AllGates(), [&](const GateEntry& gate) { return (v.*gate.result).Measured(); }));
}

TEST(MatchingScenes, ThoroughEvaluationDecidesAlikeAndRepeatsEveryFigureToTheBit) {
  std::map<DecidingStep, int> decided;
  int more = 0;
  for (std::uint32_t seed = 0; seed < 30; ++seed) {
    for (int appearance = 0; appearance < kAppearances; ++appearance) {
      Scene scene = MakeScene(seed, static_cast<Appearance>(appearance));
      for (MatchMode mode : kModes) {
        SCOPED_TRACE(::testing::Message() << "seed " << seed << ", appearance " << appearance << ", mode "
                                          << static_cast<int>(mode));
        scene.spec.mode = mode;
        const Verdict v = EvaluateRegion(scene.unit, scene.spec);
        const Verdict thorough = EvaluateRegion(scene.unit, scene.spec, Thoroughness::EveryStep);
        ++decided[v.decidedBy];
        ASSERT_EQ(thorough.decidedBy, v.decidedBy);
        ASSERT_EQ(thorough.loc, v.loc);
        ASSERT_EQ(thorough.dist, v.dist);
        for (const GateEntry& gate : AllGates()) {
          const GateResult &early = v.*gate.result, &late = thorough.*gate.result;
          if (!early.Measured()) continue;
          EXPECT_EQ(late.figure, early.figure) << gate.name;
          EXPECT_EQ(late.limit.Value(), early.limit.Value()) << gate.name;
          EXPECT_EQ(late.outcome, early.outcome) << gate.name;
          EXPECT_EQ(late.Vetoes() && late.Margin() >= 0.0, false) << gate.name;
        }
        more += v.decidedBy == DecidingStep::Difference && Measured(thorough) > Measured(v);
        if (!v.Accepted()) continue;
        EXPECT_EQ(thorough.hit.cx, v.hit.cx);
        EXPECT_EQ(thorough.edgeScore, v.edgeScore);
        EXPECT_EQ(Measured(thorough), Measured(v));
      }
    }
  }
  // The scenes are worth something only if they come to every step.
  for (const GateEntry& gate : AllGates()) EXPECT_GE(decided[gate.step], 1) << gate.name;
  EXPECT_GE(decided[DecidingStep::Accepted], 100);
  EXPECT_GE(more, decided[DecidingStep::Difference] / 2)
      << "a template without detail has nothing more to measure";
}

bool BitForBitEqual(const Verdict& a, const Verdict& b) {
  return a.decidedBy == b.decidedBy && a.loc == b.loc && a.dist == b.dist &&
         a.greyCorrelation.figure == b.greyCorrelation.figure && a.e1 == b.e1 && a.e2 == b.e2 &&
         a.chroma.figure == b.chroma.figure && a.hsvMean == b.hsvMean && a.redRatio == b.redRatio &&
         a.labAMean == b.labAMean && a.hit.cx == b.hit.cx && a.sq == b.sq;
}

TEST(MatchingScenes, GivesTheSameVerdictsOnFourThreads) {
  std::vector<Scene> scenes;
  for (std::uint32_t seed = 3000; seed < 3010; ++seed) {
    for (MatchMode mode : kModes) {
      scenes.push_back(MakeScene(seed, Exact));
      scenes.back().spec.mode = mode;
    }
  }
  std::vector<Verdict> alone;
  for (const Scene& scene : scenes) alone.push_back(EvaluateRegion(scene.unit, scene.spec));

  std::array<int, 4> different{};
  std::vector<std::thread> threads;
  for (size_t t = 0; t < different.size(); ++t) {
    threads.emplace_back([&, t] {
      for (size_t i = 0; i < scenes.size(); ++i) {
        const size_t at = (i + t * 7) % scenes.size();  // each thread in another order
        different[t] += !BitForBitEqual(EvaluateRegion(scenes[at].unit, scenes[at].spec), alone[at]);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(different, ::testing::Each(0));
}

}  // namespace
}  // namespace quillmark::testing
