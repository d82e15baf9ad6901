#include "core/RegionEvaluation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <utility>

#include "support/Images.h"

namespace quillmark::testing {
namespace {

constexpr auto kNotAMode = static_cast<MatchMode>(5);
const cv::Size kNormal(40, 20);

cv::Mat Uniform(cv::Size size, const cv::Scalar& colour) {
  return cv::Mat(size, CV_8UC3, colour);
}

cv::Mat IconOf(cv::Size size) {
  Random random(11);
  return size.height > 3 ? Icon(random, size, "Q") : Noise(random, size);
}

// A screen that shows `image` at `at` and its spec: a perfect match unless the test disturbs it.
struct Shown {
  ROIUnit unit;
  TemplateSpec spec;

  explicit Shown(const cv::Mat& image, MatchMode mode = MatchMode::Gray, cv::Point at = {20, 10})
      : spec(PreparedSpec(image, mode)) {
    cv::Mat screen = Uniform(image.size() + cv::Size(60, 40), cv::Scalar(90, 100, 110));
    Plant(screen, image, at);
    unit = UnitShowing(screen);
  }

  [[nodiscard]] Verdict Evaluated() const { return EvaluateRegion(unit, spec); }
};

// A uniform spec over a region that is exactly the placement.
Verdict EvaluateUniform(const cv::Scalar& tmpl, const cv::Mat& region, MatchMode mode) {
  TemplateSpec spec = PreparedSpec(Uniform(region.size(), tmpl), mode);
  spec.maxDiff = 0.5;
  return EvaluateRegion(UnitShowing(region), spec);
}

TEST(RegionEvaluation, TellsWhatItComputesUpToTheFirstVeto) {
  using enum DecidingStep;
  Shown shown(IconOf({40, 30}));
  const auto computed = [&] {
    std::vector<DecidingStep> steps;
    (void)EvaluateRegion(shown.unit, shown.spec, Thoroughness::UpToTheFirstVeto,
                         [&](DecidingStep step) { steps.push_back(step); });
    return steps;
  };
  EXPECT_EQ(computed(),
            (std::vector{Search, FlatWhite, Chroma, GreyCorrelation, EdgeCorrelation, Darkness, Accepted}));
  shown.spec.maxDiff = -1.0;
  EXPECT_EQ(computed(), std::vector{Search});
}

TEST(RegionEvaluation, StopsAtOnceWhenTheModeLacksAnImage) {
  const struct {
    MatchMode mode;
    cv::Mat ROIUnit::*crop;
    cv::Mat TemplateSpec::*tmpl;
    DecidingStep expected;
  } kCases[] = {
      {MatchMode::Gray, &ROIUnit::gray, &TemplateSpec::tmplGray, DecidingStep::Inputs},
      {MatchMode::Bgr, &ROIUnit::gray, &TemplateSpec::tmplGray, DecidingStep::Inputs},
      {MatchMode::S, &ROIUnit::gray, &TemplateSpec::tmplGray, DecidingStep::Inputs},
      {MatchMode::H, &ROIUnit::hsv, &TemplateSpec::tmplHue, DecidingStep::Inputs},
      {MatchMode::HS, &ROIUnit::hsv, &TemplateSpec::tmplHue, DecidingStep::Inputs},
      {kNotAMode, &ROIUnit::gray, &TemplateSpec::tmplGray, DecidingStep::Search},
      {MatchMode::Bgr, &ROIUnit::bgr, &TemplateSpec::tmplBgr, DecidingStep::Search},
      {MatchMode::S, &ROIUnit::sat, &TemplateSpec::tmplSat, DecidingStep::Search},
  };
  for (const auto& c : kCases) {
    Shown noCrop(IconOf(kNormal), c.mode), noTemplate = noCrop;
    ASSERT_TRUE(noCrop.Evaluated().Accepted()) << static_cast<int>(c.mode);
    noCrop.unit.*c.crop = cv::Mat();
    noTemplate.spec.*c.tmpl = cv::Mat();
    EXPECT_EQ(noCrop.Evaluated().decidedBy, c.expected) << static_cast<int>(c.mode);
    EXPECT_EQ(noTemplate.Evaluated().decidedBy, c.expected) << static_cast<int>(c.mode);
  }
}

TEST(RegionEvaluation, RefusesAPlacementBeyondTheGreyCrop) {
  Shown shown(IconOf(kNormal), MatchMode::H);
  shown.unit.gray = shown.unit.gray.colRange(0, 59);
  EXPECT_EQ(shown.Evaluated().decidedBy, DecidingStep::Placement);
}

TEST(RegionEvaluation, NeverReportsAVividFlatTemplateOverARegion31LevelsDarker) {
  for (MatchMode mode : {MatchMode::Gray, MatchMode::Bgr, MatchMode::H, MatchMode::HS}) {
    const auto over = [mode](int level) {
      return EvaluateUniform(cv::Scalar(20, 200, 200), Uniform({20, 20}, cv::Scalar(20, level, level)), mode);
    };
    EXPECT_TRUE(over(170).Accepted()) << static_cast<int>(mode);
    EXPECT_EQ(over(169).decidedBy, DecidingStep::Darkness) << static_cast<int>(mode);
  }
  EXPECT_TRUE(EvaluateUniform(cv::Scalar::all(200), Uniform({20, 20}, cv::Scalar::all(160)), MatchMode::Gray)
                  .Accepted())
      << "not vivid";
}

TEST(RegionEvaluation, RefusesAnotherChroma) {
  Shown shown(IconOf(kNormal));
  shown.unit.bgr = Inverted(shown.unit.bgr);
  EXPECT_TRUE(shown.Evaluated().Accepted());
  shown.spec.chromaChannel = 2;
  EXPECT_EQ(shown.Evaluated().decidedBy, DecidingStep::Chroma);
}

TEST(RegionEvaluation, HoldsTheEdgeDensityUnlessTheRegionIsClipped) {
  Shown shown(IconOf(kNormal));
  const double density = shown.spec.edgeDensity;
  shown.spec.edgeDensity = density + 0.039;
  EXPECT_TRUE(shown.Evaluated().Accepted());
  shown.spec.edgeDensity = density + 0.041;
  EXPECT_EQ(shown.Evaluated().decidedBy, DecidingStep::EdgeDensity);
  shown.unit.clipped = true;
  EXPECT_TRUE(shown.Evaluated().Accepted());
}

TEST(RegionEvaluation, SkipsWhatATemplateWithoutDetailCannotBear) {
  const struct {
    const char* what;
    double edgeDensity;
    bool grey, edges;
  } kCases[] = {{"enough edges", 0.01, true, true},
                {"few edges", 0.0099, true, false},
                {"hardly any", 0.005, true, false},
                {"almost none", 0.0049, false, false}};
  for (const auto& c : kCases) {
    Shown shown(IconOf(kNormal));
    shown.spec.edgeDensity = c.edgeDensity;
    const Verdict v = shown.Evaluated();
    EXPECT_EQ(v.greyCorrelation.Measured(), c.grey) << c.what;
    EXPECT_EQ(v.edgeCorrelation.Measured(), c.edges) << c.what;
  }
  Shown uniform(Uniform(kNormal, cv::Scalar::all(90)));
  uniform.spec.edgeDensity = 0.2;
  EXPECT_EQ(uniform.Evaluated().edgeCorrelation.because, Because::FlatTemplate);
}

TEST(RegionEvaluation, LeavesStructureNoSayWhereColourDecides) {
  const struct {
    bool redHint, colorGate;
    Because because;
  } kCases[] = {{false, false, Because::None},
                {false, true, Because::StrictSpec},
                {true, false, Because::RedSpec},
                {true, true, Because::RedSpec}};
  for (const auto& c : kCases) {
    Shown shown(IconOf(kNormal));
    shown.spec.redHint = c.redHint;
    shown.spec.colorGate = c.colorGate;
    const Verdict v = shown.Evaluated();
    for (const GateResult& gate : {v.greyCorrelation, v.edgeCorrelation, v.edgeDensity}) {
      EXPECT_EQ(gate.because, c.because);
      EXPECT_EQ(gate.HasSay(), c.because == Because::None);
    }
  }
}

TEST(RegionEvaluation, DecidesHueModesWithoutStructureChromaOrColour) {
  for (MatchMode mode : {MatchMode::H, MatchMode::HS}) {
    Shown shown(IconOf(kNormal), mode);
    shown.spec.redHint = true;
    shown.spec.chromaChannel = 1;
    Random random(3);
    shown.unit.gray = Noise(random, shown.unit.gray.size(), CV_8U);
    shown.unit.bgr.setTo(cv::Scalar(40, 250, 40));
    const Verdict v = shown.Evaluated();
    EXPECT_TRUE(v.Accepted());
    for (const GateResult& gate : {v.chroma, v.labA, v.greyCorrelation}) {
      EXPECT_LT(gate.Margin(), 0.0);
      EXPECT_EQ(gate.outcome, Outcome::Waived);
      EXPECT_EQ(gate.because, Because::HueMode);
    }
  }
}

TEST(RegionEvaluation, AcceptsColourWhenAnyOfTheThreeTestsAgrees) {
  for (int round = 0; round < 24; ++round) {
    const int wrong = round % 8, plane = round / 8;
    Shown shown(IconOf(kNormal));
    shown.spec.redHint = true;
    if (wrong & 1) shown.spec.hsvMean[plane] += 40.0;
    if (wrong & 2) shown.spec.redRatio += 0.5;
    if (wrong & 4) shown.spec.labAMean += 50.0;
    EXPECT_EQ(shown.Evaluated().decidedBy, wrong == 7 ? DecidingStep::Colour : DecidingStep::Accepted)
        << wrong << " in plane " << plane;
    shown.spec.redHint = false;
    shown.spec.colorGate = true;  // the red test agrees without a red hint
    EXPECT_TRUE(shown.Evaluated().Accepted()) << wrong;
  }
}

TEST(RegionEvaluation, JudgesAColourlessTemplateByBrightnessAlone) {
  Shown shown(IconOf(kNormal));
  shown.spec.redHint = true;
  shown.spec.hsvMean[1] = 15.0;
  shown.spec.redRatio += 0.5;
  shown.spec.hsvMean[2] += 46.0;
  const Verdict v = shown.Evaluated();
  EXPECT_EQ(v.value.outcome, Outcome::Failed);
  EXPECT_FALSE(v.hue.Measured());
  EXPECT_EQ(v.labA.outcome, Outcome::Waived);
  EXPECT_TRUE(v.Accepted()) << "the waived Lab test agrees";
}

TEST(RegionEvaluation, RaisesTheColourGatesErrorWithoutAnHsvCrop) {
  Shown shown(IconOf(kNormal));
  shown.unit.hsv = cv::Mat();
  EXPECT_TRUE(shown.Evaluated().Accepted());
  shown.spec.colorGate = true;
  try {
    (void)shown.Evaluated();
    FAIL() << "no exception";
  } catch (const cv::Exception& e) {
    EXPECT_EQ(e.err, "hsv.type() == CV_8UC3");
  }
}

TEST(RegionEvaluation, ReportsThePlacementInTheTargetsClientArea) {
  const Rect kTarget{100, 200, 1100, 800};
  const struct {
    const char* what;
    cv::Size size;
    int x, y;
    double scale;
    Rect target;
    HitGeometry expected;  // desktop x, y; cx, cy; w, h
  } kCases[] = {
      {"scaled", {40, 20}, 115, 230, 1.5, kTarget, {175, 260, 75, 60, 60, 30}},
      {"scale 0 counts as 1", {40, 20}, 115, 230, 0.0, kTarget, {155, 250, 55, 50, 40, 20}},
      {"right of and below the last place", {40, 20}, 1020, 760, 1.0, kTarget, {1060, 780, 960, 580, 40, 20}},
      {"clamped by the whole width", {40, 20}, 1050, 790, 1.0, kTarget, {1090, 810, 960, 580, 40, 20}},
      {"left of and above the area", {40, 20}, 10, 20, 1.0, kTarget, {50, 40, 0, 0, 40, 20}},
      {"larger than the area", {40, 20}, 0, 0, 1.0, {0, 0, 30, 10}, {40, 20, 0, 0, 40, 20}},
      {"no area, no clamping", {40, 20}, 0, 0, 1.0, {60, 50, 60, 90}, {40, 20, -20, -30, 40, 20}},
      {"halves away from zero", {41, 21}, -100, -100, 1.0, {}, {-60, -80, -60, -80, 41, 21}},
      {"halves away from zero, right of it", {41, 21}, 0, 0, 1.0, {}, {41, 21, 41, 21, 41, 21}},
      {"never less than a pixel", {40, 20}, 0, 0, 0.01, {}, {0, 0, 0, 0, 1, 1}},
  };
  for (const auto& c : kCases) {
    Shown shown(IconOf(c.size));
    shown.unit.x = c.x;
    shown.unit.y = c.y;
    shown.unit.scaleX = shown.unit.scaleY = c.scale;
    shown.spec.targetRect = c.target;
    const Verdict v = shown.Evaluated();
    ASSERT_TRUE(v.Accepted()) << c.what;
    ASSERT_EQ(v.loc, cv::Point(20, 10)) << c.what;
    EXPECT_THAT((std::array{v.hit.desktopX, v.hit.desktopY, v.hit.cx, v.hit.cy, v.hit.w, v.hit.h}),
                ::testing::ElementsAre(c.expected.desktopX, c.expected.desktopY, c.expected.cx, c.expected.cy,
                                       c.expected.w, c.expected.h))
        << c.what;
  }
}

TEST(RegionEvaluation, ScalesAcrossAndDownApart) {
  Shown shown(IconOf(kNormal));
  shown.unit.scaleX = 2.0;
  shown.unit.scaleY = 3.0;
  const HitGeometry hit = shown.Evaluated().hit;
  EXPECT_THAT((std::array{hit.desktopX, hit.desktopY, hit.w, hit.h}), ::testing::ElementsAre(80, 60, 80, 60));
}

TEST(RegionEvaluation, ReportsTheLargerEdgeCorrelation) {
  Shown shown(IconOf(kNormal));
  Random random(2);
  shown.unit.gray = WithNoise(random, shown.unit.gray, 20);
  const Verdict v = EvaluateRegion(shown.unit, shown.spec, Thoroughness::EveryStep);
  ASSERT_GT(v.e2, v.e1 + 0.01);
  EXPECT_EQ(v.edgeScore, static_cast<float>(v.e2));
}

TEST(RegionEvaluation, DerivesTheDedupeWindowFromTheInterval) {
  for (const auto& [interval, expected] :
       {std::pair{0, 0}, {-5, 0}, {1, 1}, {3, 1}, {20, 12}, {33, 19}, {200, 120}}) {
    Shown shown(IconOf(kNormal));
    shown.spec.intervalMs = interval;
    EXPECT_EQ(shown.Evaluated().dedupWindowMs, static_cast<std::uint64_t>(expected)) << interval;
  }
}

}  // namespace
}  // namespace quillmark::testing
