// docs/tuning.md lists the limits that the gates have.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "core/Gates.h"
#include "support/TempFolder.h"
#include "text/Numbers.h"

namespace quillmark::explain {
namespace {

// The rows of the page's table of limits, made from the gates.
std::string TableOfLimits() {
  using LimitOf = std::function<Limit(const GateContext&, double dist)>;
  const std::pair<const char*, LimitOf> gates[] = {
      {"difference", [](const GateContext& c, double) { return DifferenceLimit(c); }},
      {"flat-white",
       [](const GateContext&, double) { return FlatWhiteGate(cv::Mat1b(1, 1), {.blankWhite = true}).limit; }},
      {"darkness",
       [](const GateContext&, double) {
         TemplateSpec vivid;
         vivid.vividFlat = true;
         return DarknessGate({}, vivid).limit;
       }},
      {"grey-correlation", [](const GateContext& c, double) { return GreyCorrelationLimit(c); }},
      {"edge-correlation", [](const GateContext& c, double dist) { return EdgeCorrelationLimit(dist, c); }},
      {"edge-density", [](const GateContext& c, double) { return EdgeDensityGate(0.0, c.spec).limit; }},
      {"chroma", [](const GateContext& c, double) { return Limit(Rule::Spec, c.spec.chromaMin); }},
      {"hue", [](const GateContext& c, double) { return HueLimit(c); }},
      {"saturation", [](const GateContext& c, double) { return SaturationLimit(c); }},
      {"value", [](const GateContext& c, double) { return ValueLimit(c); }},
      {"red", [](const GateContext& c, double) { return RedLimit(c.clipped); }},
      {"lab-a", [](const GateContext& c, double) { return LabALimit(c.clipped); }},
  };
  struct Column {
    const char* title;
    std::function<void(TemplateSpec&, GateContext&, double& dist)> set;
  };
  const Column columns[] = {
      {"template of at most 256 pixels",
       [](auto&, auto& c, auto&) { c.traits = {.tiny = true, .lowDetail = true}; }},
      {"little detail", [](auto&, auto& c, auto&) { c.traits.lowDetail = true; }},
      {"red, little detail", [](auto& s, auto& c, auto&) { s.redHint = c.traits.lowDetail = true; }},
      {"vivid, flat", [](auto& s, auto&, auto&) { s.vividFlat = true; }},
      {"no colour", [](auto& s, auto&, auto&) { s.hsvMean[1] = 0.0; }},
      {"small difference", [](auto&, auto&, auto& dist) { dist = 0.065; }},
      {"floor", [](auto& s, auto&, auto&) { s.edgeMin = 0.0; }},
      {"partly off the monitor", [](auto&, auto& c, auto&) { c.clipped = true; }},
      {"modes h and hs", [](auto& s, auto&, auto&) { s.mode = MatchMode::HS; }},
  };
  std::string head = "| Gate | usually |", line = "|---|---|", rows;
  for (const Column& column : columns) {
    head += ' ' + std::string(column.title) + " |";
    line += "---|";
  }
  for (const auto& [name, limitOf] : gates) {
    TemplateSpec plain;
    plain.hsvMean = {90, 200, 200};
    const double usual = limitOf({plain}, 1.0).Value();
    rows += '\n' + ("| `" + std::string(name)) + "` | " + Digits(usual) + " |";
    for (const Column& column : columns) {
      TemplateSpec spec = plain;
      GateContext context{spec};
      double dist = 1.0;
      column.set(spec, context, dist);
      const double moved = limitOf(context, dist).Value();
      rows += moved == usual ? " |" : ' ' + Digits(moved) + " |";
    }
  }
  return head + '\n' + line + rows + '\n';
}

TEST(TuningPage, ListsEveryLimitAndWhatMovesIt) {
  const std::string page = test::ContentOf(QUILLMARK_DOCS "/tuning.md");
  EXPECT_NE(page.find(TableOfLimits()), std::string::npos) << "the page's table should be\n"
                                                           << TableOfLimits();
}

}  // namespace
}  // namespace quillmark::explain
