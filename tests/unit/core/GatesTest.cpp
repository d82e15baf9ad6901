// Each gate alone: its limits as numbers, the rules that lead to them, and its figure.
#include "core/Gates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "support/Images.h"

namespace quillmark::testing {
namespace {

using enum Rule;
using Rules = std::vector<Rule>;

Rules RulesOf(const Limit& limit) {
  Rules rules;
  std::ranges::transform(limit.Rules(), std::back_inserter(rules), &LimitRule::rule);
  return rules;
}

void ExpectLimit(const Limit& limit, double value, const Rules& rules) {
  EXPECT_DOUBLE_EQ(limit.Value(), value);
  EXPECT_EQ(RulesOf(limit), rules);
}

TEST(Gates, Traits) {
  const struct {
    cv::Size size;
    int left, right;  // grey levels of the halves
    double density;
    bool tiny, lowDetail, flat, blankWhite;
  } cases[] = {
      {{16, 16}, 90, 90, 0.5, true, true, true, false},
      {{257, 1}, 90, 90, 0.5, false, false, true, false},
      {{40, 20}, 90, 90, 0.0099, false, true, true, false},
      {{40, 20}, 90, 90, 0.01, false, false, true, false},
      {{40, 20}, 246, 246, 0.5, false, false, true, true},
      {{40, 20}, 245, 245, 0.5, false, false, true, false},
      {{20, 20}, 248, 252, 0.005, false, true, true, true},
      {{20, 20}, 247, 253, 0.005, false, true, false, false},  // a deviation of 3
      {{20, 20}, 247, 253, 0.0049, false, true, true, false},
  };
  for (const auto& c : cases) {
    TemplateSpec spec;
    spec.tmplGray = GreyColumns(c.left, c.right, c.size);
    spec.edgeDensity = c.density;
    const TemplateTraits traits = TraitsOf(spec);
    EXPECT_EQ(std::tie(traits.tiny, traits.lowDetail, traits.flat, traits.blankWhite),
              std::tie(c.tiny, c.lowDetail, c.flat, c.blankWhite))
        << c.size << ' ' << c.left << ' ' << c.right << ' ' << c.density;
  }
}

TEST(Gates, Difference) {
  const struct {
    bool tiny;
    MatchMode mode;
    bool clipped;
    double maxDiff, expected;
    Rules rules;
  } cases[] = {
      {false, MatchMode::Gray, false, 0.1, 0.1, {Spec}},
      {false, MatchMode::Gray, true, 0.1, 0.16, {Spec, ClippedMinimum}},
      {false, MatchMode::Bgr, true, 0.2, 0.2, {Spec}},
      {false, MatchMode::S, true, 0.4, 0.25, {Spec, ClippedMaximum}},
      {true, MatchMode::Gray, false, 0.1, 0.06, {Spec, Tiny}},
      {true, MatchMode::Bgr, true, 0.1, 0.06, {Spec, ClippedMinimum, Tiny}},
      {true, MatchMode::S, false, 0.03, 0.03, {Spec}},
      {false, MatchMode::H, false, 0.1, 0.35, {Spec, HueMode}},
      {false, MatchMode::HS, true, 0.4, 0.35, {Spec, ClippedMaximum, HueMode}},
      {false, MatchMode::HS, false, 0.5, 0.5, {Spec}},
      {true, MatchMode::HS, false, 0.1, 0.35, {Spec, HueMode}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    TemplateSpec spec;
    spec.mode = c.mode;
    spec.maxDiff = c.maxDiff;
    ExpectLimit(DifferenceLimit({spec, c.clipped, {.tiny = c.tiny}}), c.expected, c.rules);
  }
  const TemplateSpec spec;
  EXPECT_EQ(DifferenceGate(0.1, {spec}).outcome, Outcome::Passed);
  EXPECT_EQ(DifferenceGate(0.1001, {spec}).outcome, Outcome::Failed);
}

TEST(Gates, MinScore) {
  TemplateSpec spec;
  for (const double none : {0.0, -1.0}) {
    spec.minScore = none;
    EXPECT_EQ(MinScoreGate(1.0, spec).because, Because::NoMinScore);
  }
  spec.minScore = 0.75;
  EXPECT_EQ(MinScoreGate(0.25, spec).outcome, Outcome::Passed);
  EXPECT_EQ(MinScoreGate(0.2501, spec).outcome, Outcome::Failed);
}

TEST(Gates, FlatWhite) {
  EXPECT_FALSE(FlatWhiteGate(GreyColumns(0, 255), {}).Measured());
  EXPECT_EQ(FlatWhiteGate(GreyColumns(242, 250), {.blankWhite = true}).outcome,
            Outcome::Passed);  // 4 exactly
  EXPECT_EQ(FlatWhiteGate(GreyColumns(240, 250), {.blankWhite = true}).outcome, Outcome::Failed);
}

TEST(Gates, Chroma) {
  Random random(11);
  const cv::Mat icon = Icon(random, {40, 20}, "Q");
  const cv::Rect all(0, 0, 40, 20);
  TemplateSpec spec = PreparedSpec(icon);
  for (const int channel : {0, 1, 2, 3, -1}) {
    spec.chromaChannel = channel;
    const bool compared = channel == 1 || channel == 2;
    EXPECT_EQ(ChromaGate(icon, all, spec).outcome, compared ? Outcome::Passed : Outcome::NotMeasured)
        << channel;
    EXPECT_EQ(ChromaGate(Inverted(icon), all, spec).Vetoes(), compared) << channel;
  }
  spec.chromaChannel = 1;
  ExpectLimit(ChromaGate(icon, all, spec).limit, 0.88, {Spec});
  spec.chromaMin = 0.8;
  ExpectLimit(ChromaGate(icon, all, spec).limit, 0.8, {Spec});
}

TEST(Gates, GreyCorrelation) {
  const struct {
    bool lowDetail, redHint, clipped;
    double expected;
    Rules rules;
  } cases[] = {
      {false, false, false, 0.58, {Usual}},
      {false, false, true, 0.53, {Usual, Clipped}},
      {true, false, false, 0.7, {Usual, LowDetail}},
      {true, true, false, 0.6, {Usual, LowDetailRed}},
      {true, false, true, 0.65, {Usual, LowDetail, Clipped}},
      {true, true, true, 0.55, {Usual, LowDetailRed, Clipped}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    TemplateSpec spec;
    spec.redHint = c.redHint;
    ExpectLimit(GreyCorrelationLimit({spec, c.clipped, {.lowDetail = c.lowDetail}}), c.expected, c.rules);
  }
  TemplateSpec spec;
  spec.tmplGray = GreyColumns(0, 100);
  EXPECT_EQ(GreyCorrelationGate(GreyColumns(50, 60), {spec}).outcome, Outcome::Passed);
  EXPECT_EQ(GreyCorrelationGate(GreyColumns(60, 50), {spec}).outcome, Outcome::Failed);
  EXPECT_EQ(GreyCorrelationGate(GreyColumns(60, 50), {spec, false, {.flat = true}}).because,
            Because::FlatTemplate);
}

TEST(Gates, EdgeCorrelation) {
  const struct {
    double edgeMin, dist;
    bool clipped;
    double expected;
    Rules rules;
  } cases[] = {
      {0.75, 0.065, false, 0.69, {Spec, Relaxed}},
      {0.75, 0.0651, false, 0.75, {Spec}},
      {0.70, 0.065, false, 0.66, {Spec, Relaxed, Floor}},
      {0.50, 0.1, false, 0.66, {Spec, Floor}},
      {0.75, 0.0, true, 0.64, {Spec, Relaxed, Clipped}},
      {0.70, 0.0, true, 0.61, {Spec, Relaxed, Floor, Clipped}},  // below the floor
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    TemplateSpec spec;
    spec.edgeMin = c.edgeMin;
    ExpectLimit(EdgeCorrelationLimit(c.dist, {spec, c.clipped}), c.expected, c.rules);
  }
  const TemplateSpec spec;
  EXPECT_EQ(EdgeCorrelationGate(0.1, 0.75, 0.1, {spec}).outcome, Outcome::Passed);
  EXPECT_EQ(EdgeCorrelationGate(0.75, 0.1, 0.1, {spec}).outcome, Outcome::Passed);
  EXPECT_EQ(EdgeCorrelationGate(0.74, 0.74, 0.1, {spec}).outcome, Outcome::Failed);
}

TEST(Gates, EdgeDensity) {
  TemplateSpec spec;
  spec.edgeDensity = 0.5;
  for (const double off : {-0.039, 0.039}) EXPECT_FALSE(EdgeDensityGate(0.5 + off, spec).Vetoes()) << off;
  for (const double off : {-0.041, 0.041}) EXPECT_TRUE(EdgeDensityGate(0.5 + off, spec).Vetoes()) << off;
}

TEST(Gates, Darkness) {
  TemplateSpec spec;
  spec.hsvMean = {0, 0, 200};
  EXPECT_EQ(DarknessGate({0, 0, 0}, spec).because, Because::NotVividFlat);
  spec.vividFlat = true;
  EXPECT_FALSE(DarknessGate({0, 0, 170}, spec).Vetoes());
  EXPECT_TRUE(DarknessGate({0, 0, 169.9}, spec).Vetoes());
  EXPECT_FALSE(DarknessGate({0, 0, 255}, spec).Vetoes()) << "brighter";
}

TEST(Gates, HsvMeansRedAndLabA) {
  const struct {
    bool clipped, vividFlat, lowDetail;
    double hue, saturation, value, red, lab;
  } cases[] = {
      {false, false, false, 12, 12, 12, 0.08, 8}, {true, false, false, 15, 15, 15, 0.12, 10},
      {false, true, false, 12, 8, 10, 0.08, 8},   {true, true, false, 15, 11, 13, 0.12, 10},
      {false, false, true, 18, 12, 12, 0.08, 8},  {true, false, true, 21, 15, 15, 0.12, 10},
  };
  for (const auto& c : cases) {
    TemplateSpec spec;
    spec.hsvMean = {90, 200, 100};
    spec.vividFlat = c.vividFlat;
    const GateContext context{spec, c.clipped, {.lowDetail = c.lowDetail}};
    EXPECT_THAT(
        (std::vector{HueLimit(context).Value(), SaturationLimit(context).Value(), ValueLimit(context).Value(),
                     RedLimit(c.clipped).Value(), LabALimit(c.clipped).Value()}),
        ::testing::ElementsAre(c.hue, c.saturation, c.value, c.red, c.lab));
  }
}

TEST(Gates, HueWrapsAndColourlessTemplatesAreComparedByBrightnessAlone) {
  TemplateSpec spec;
  spec.hsvMean = {178, 15.01, 100};
  const cv::Scalar seen(1, 20, 120);
  EXPECT_DOUBLE_EQ(HueGate(seen, {spec}).figure, 3.0);
  EXPECT_DOUBLE_EQ(SaturationGate(seen, {spec}).figure, 20 - 15.01);
  EXPECT_DOUBLE_EQ(ValueGate(seen, {spec}).figure, 20.0);

  spec.hsvMean[1] = 15.0;
  EXPECT_EQ(HueGate(seen, {spec}).because, Because::Colourless);
  EXPECT_EQ(SaturationGate(seen, {spec}).because, Because::Colourless);
  ExpectLimit(ValueGate(seen, {spec, true}).limit, 45.0, {Colourless});
}

}  // namespace
}  // namespace quillmark::testing
