#include "core/RegionEvaluation.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <utility>

#include "support/Images.h"

namespace quillmark::testing {
namespace {

constexpr auto kNotAMode = static_cast<MatchMode>(5);
const cv::Size kNormal(40, 20);

cv::Mat IconOf(cv::Size size) {
  Random random(11);
  return Icon(random, size, "Q");
}

// A screen that shows `image` at (20, 10) and its spec: a perfect match unless the test disturbs it.
struct Shown {
  ROIUnit unit;
  TemplateSpec spec;

  explicit Shown(const cv::Mat& image, MatchMode mode = MatchMode::Gray) : spec(PreparedSpec(image, mode)) {
    cv::Mat screen(image.size() + cv::Size(60, 40), CV_8UC3, cv::Scalar(90, 100, 110));
    Plant(screen, image, {20, 10});
    unit = UnitShowing(screen);
  }

  [[nodiscard]] Verdict Evaluated() const { return EvaluateRegion(unit, spec); }
};

TEST(RegionEvaluation, NeedsTheImagesOfItsMode) {
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
    SCOPED_TRACE(static_cast<int>(c.mode));
    Shown noCrop(IconOf(kNormal), c.mode), noTemplate = noCrop;
    ASSERT_TRUE(noCrop.Evaluated().Accepted());
    noCrop.unit.*c.crop = cv::Mat();
    noTemplate.spec.*c.tmpl = cv::Mat();
    EXPECT_EQ(noCrop.Evaluated().decidedBy, c.expected);
    EXPECT_EQ(noTemplate.Evaluated().decidedBy, c.expected);
  }
}

TEST(RegionEvaluation, GateThatVetoesDecides) {
  using enum DecidingStep;
  // A vivid flat template over a region of this level.
  const auto showLevel = [](Shown& shown, int level) {
    shown.spec = PreparedSpec(cv::Mat(20, 20, CV_8UC3, cv::Scalar(20, 200, 200)), shown.spec.mode);
    shown.spec.maxDiff = 0.5;
    shown.unit = UnitShowing(cv::Mat(20, 20, CV_8UC3, cv::Scalar(20, level, level)));
  };
  const struct {
    const char* what;
    std::function<void(Shown&)> disturb;
    DecidingStep expected;
    MatchMode mode = MatchMode::Gray;
  } kCases[] = {
      {"difference", [](Shown& s) { s.spec.maxDiff = -1.0; }, Difference},
      {"beyond the grey crop", [](Shown& s) { s.unit.gray = s.unit.gray.colRange(0, 59); }, Placement,
       MatchMode::H},
      {"30 levels darker", [&](Shown& s) { showLevel(s, 170); }, Accepted},
      {"darker", [&](Shown& s) { showLevel(s, 169); }, Darkness},
      {"darker", [&](Shown& s) { showLevel(s, 169); }, Darkness, MatchMode::HS},
      {"no chroma to compare", [](Shown& s) { s.unit.bgr = Inverted(s.unit.bgr); }, Accepted},
      {"another chroma", [](Shown& s) { s.unit.bgr = Inverted(s.unit.bgr), s.spec.chromaChannel = 2; },
       Chroma},
      {"edge density", [](Shown& s) { s.spec.edgeDensity += 0.041; }, EdgeDensity},
      {"edge density, clipped", [](Shown& s) { s.spec.edgeDensity += 0.041, s.unit.clipped = true; },
       Accepted},
  };
  for (const auto& c : kCases) {
    Shown shown(IconOf(kNormal), c.mode);
    c.disturb(shown);
    EXPECT_EQ(shown.Evaluated().decidedBy, c.expected) << c.what;
  }
}

TEST(RegionEvaluation, SkipsEdgesThatTheTemplateLacks) {
  Shown faint(IconOf(kNormal)), uniform(cv::Mat(kNormal, CV_8UC3, cv::Scalar::all(90)));
  faint.spec.edgeDensity = 0.0099;
  uniform.spec.edgeDensity = 0.2;
  EXPECT_EQ(faint.Evaluated().edgeCorrelation.because, Because::LowDetail);
  EXPECT_EQ(uniform.Evaluated().edgeCorrelation.because, Because::FlatTemplate);
}

TEST(RegionEvaluation, WaivesStructureWhereColourDecidesAndAllGatesInHueModes) {
  const struct {
    MatchMode mode;
    bool redHint, colorGate;
    Because because;
  } kCases[] = {
      {MatchMode::Gray, false, false, Because::None},   {MatchMode::Bgr, false, true, Because::StrictSpec},
      {MatchMode::Gray, true, false, Because::RedSpec}, {MatchMode::Gray, true, true, Because::RedSpec},
      {MatchMode::H, true, false, Because::HueMode},    {MatchMode::HS, true, false, Because::HueMode},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(static_cast<int>(c.mode));
    Shown shown(IconOf(kNormal), c.mode);
    shown.spec.redHint = c.redHint;
    shown.spec.colorGate = c.colorGate;
    shown.spec.chromaChannel = 1;
    const Verdict v = shown.Evaluated();
    EXPECT_EQ(v.colourActive, c.redHint || c.colorGate);
    for (const GateResult& gate : {v.greyCorrelation, v.edgeCorrelation, v.edgeDensity}) {
      EXPECT_EQ(gate.because, c.because);
      EXPECT_EQ(gate.HasSay(), c.because == Because::None);
    }
    for (const GateResult& gate : {v.chroma, v.labA})
      EXPECT_EQ(gate.outcome == Outcome::Waived, c.because == Because::HueMode);
  }
}

TEST(RegionEvaluation, AcceptsWhenAnyColourTestAgrees) {
  for (int round = 0; round < 24; ++round) {
    const int wrong = round % 8, plane = round / 8;
    Shown shown(IconOf(kNormal));
    shown.spec.redHint = true;
    if (wrong & 1) shown.spec.hsvMean[plane] += 40.0;
    if (wrong & 2) shown.spec.redRatio += 0.5;
    if (wrong & 4) shown.spec.labAMean += 50.0;
    EXPECT_EQ(shown.Evaluated().decidedBy, wrong == 7 ? DecidingStep::Colour : DecidingStep::Accepted)
        << wrong << " in plane " << plane;
    Shown waived = shown;
    waived.spec.redHint = false;
    waived.spec.colorGate = true;
    EXPECT_TRUE(waived.Evaluated().Accepted()) << wrong << ": the red test agrees without a red hint";
    shown.spec.hsvMean[1] = 15.0;
    EXPECT_TRUE(shown.Evaluated().Accepted()) << wrong << ": the Lab test agrees for colourless templates";
  }
}

TEST(RegionEvaluation, ReportsThePlacementInTheTargetsClientArea) {
  const Rect kTarget{100, 200, 1100, 800};
  const struct {
    const char* what;
    cv::Size size;
    cv::Point region;
    cv::Point2d scale;
    Rect target;
    std::array<std::int32_t, 6> expected;  // desktop x, y; cx, cy; w, h
  } kCases[] = {
      {"scaled", kNormal, {115, 230}, {1.5, 1.5}, kTarget, {175, 260, 75, 60, 60, 30}},
      {"scaled apart", kNormal, {0, 0}, {2.0, 3.0}, {}, {80, 60, 80, 60, 80, 60}},
      {"scale 0 counts as 1", kNormal, {115, 230}, {0.0, 0.0}, kTarget, {155, 250, 55, 50, 40, 20}},
      {"beyond the last place", kNormal, {1020, 760}, {1.0, 1.0}, kTarget, {1060, 780, 960, 580, 40, 20}},
      {"left of and above the area", kNormal, {10, 20}, {1.0, 1.0}, kTarget, {50, 40, 0, 0, 40, 20}},
      {"larger than the area", kNormal, {0, 0}, {1.0, 1.0}, {0, 0, 30, 10}, {40, 20, 0, 0, 40, 20}},
      {"no area, no clamping", kNormal, {0, 0}, {1.0, 1.0}, {60, 50, 60, 90}, {40, 20, -20, -30, 40, 20}},
      {"halves away from zero", {41, 21}, {-100, -100}, {1.0, 1.0}, {}, {-60, -80, -60, -80, 41, 21}},
      {"halves away from zero, right of it", {41, 21}, {0, 0}, {1.0, 1.0}, {}, {41, 21, 41, 21, 41, 21}},
      {"at least a pixel", kNormal, {0, 0}, {0.01, 0.01}, {}, {0, 0, 0, 0, 1, 1}},
  };
  for (const auto& c : kCases) {
    Shown shown(IconOf(c.size));
    shown.unit.x = c.region.x;
    shown.unit.y = c.region.y;
    shown.unit.scaleX = c.scale.x;
    shown.unit.scaleY = c.scale.y;
    shown.spec.targetRect = c.target;
    const Verdict v = shown.Evaluated();
    ASSERT_TRUE(v.Accepted() && v.loc == cv::Point(20, 10)) << c.what;
    const HitGeometry& hit = v.hit;
    EXPECT_EQ((std::array{hit.desktopX, hit.desktopY, hit.cx, hit.cy, hit.w, hit.h}), c.expected) << c.what;
  }
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
