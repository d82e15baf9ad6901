// The pictures and answers of docs/tuning.md: the page shows what explain says of what the picture shows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "Cases.h"
#include "support/TempFolder.h"
#include "text/Numbers.h"

namespace quillmark::explain {
namespace {

constexpr int kScale = 2, kGap = 16;

// BGR; transparent parts show a chequered ground.
cv::Mat Opaque(const cv::Mat& image) {
  if (image.channels() == 3) return image;
  cv::Mat shown(image.size(), CV_8UC3), bgr, alpha;
  for (int y = 0; y < shown.rows; ++y) {
    for (int x = 0; x < shown.cols; ++x) {
      shown.at<cv::Vec3b>(y, x) = cv::Vec3b::all((x / 4 + y / 4) % 2 == 0 ? 255 : 205);
    }
  }
  cv::cvtColor(image, bgr, cv::COLOR_BGRA2BGR);
  cv::extractChannel(image, alpha, 3);
  bgr.copyTo(shown, alpha);
  return shown;
}

void Place(cv::Mat& sheet, const cv::Mat& image, cv::Point at) {
  cv::Mat enlarged;
  cv::resize(image, enlarged, {}, kScale, kScale, cv::INTER_NEAREST);
  enlarged.copyTo(sheet(cv::Rect(at, enlarged.size())));
  cv::rectangle(sheet, cv::Rect(at - cv::Point(1, 1), enlarged.size() + cv::Size(2, 2)),
                cv::Scalar::all(200));
}

// Where nothing can be seen.
cv::Mat Hatched(cv::Size size) {
  cv::Mat image(size, CV_8UC3, cv::Scalar::all(245));
  for (int x = -size.height; x < size.width; x += 8) {
    cv::line(image, {x, size.height}, {x + size.height, 0}, cv::Scalar::all(205));
  }
  return image;
}

// The template and the window, with the best place drawn in. What of the window lies left of the screen is
// hatched.
cv::Mat Illustration(const Case& c, const Explanation& e) {
  const int hidden = std::max(-c.client.left, 0);
  const int left = (c.tmpl.cols + hidden) * kScale + 2 * kGap;
  cv::Mat sheet(c.screen.rows * kScale + 2 * kGap, left + c.screen.cols * kScale + kGap, CV_8UC3,
                cv::Scalar::all(255));
  Place(sheet, Opaque(c.tmpl), {kGap, (sheet.rows - c.tmpl.rows * kScale) / 2});
  if (hidden > 0) Place(sheet, Hatched({hidden, c.screen.rows}), {left - hidden * kScale, kGap});
  Place(sheet, c.screen, {left, kGap});
  const Sight& sight = e.sight.value();
  const cv::Point best = sight.map->best.loc + cv::Point(sight.unit.x, sight.unit.y);
  const cv::Scalar colour = e.IsHit() ? cv::Scalar(75, 150, 20) : cv::Scalar(45, 45, 205);
  const cv::Rect place(cv::Point(left, kGap) + best * kScale, c.tmpl.size() * kScale);
  cv::rectangle(sheet, place, cv::Scalar::all(255), 5);  // so that it shows on any ground
  cv::rectangle(sheet, place, colour, 2);
  return sheet;
}

// With QUILLMARK_UPDATE_GOLDEN set the pictures are written instead.
TEST(Tuning, PageShowsWhatExplainSays) {
  const test::TempFolder folder;
  const std::string docs = QUILLMARK_DOCS, page = test::ContentOf(docs + "/tuning.md");
  std::size_t at = 0;
  for (const Case& c : TuningCases()) {
    const Explanation e = Explained(c, folder.Path().string());
    EXPECT_EQ(e.reason, c.expected) << c.name;
    const std::string file = "img/tuning-" + c.name + ".png";
    const std::size_t shown = page.find("](" + file + ")", at);
    ASSERT_NE(shown, std::string::npos) << file << " is not shown, or not in its place";
    at = shown;
    const std::string said = "```\n" + e.sentence + "\n```";
    EXPECT_EQ(page.find("```\n", at), page.find(said, at)) << c.name << ": " << e.sentence;

    const cv::Mat drawn = Illustration(c, e);
    if (std::getenv("QUILLMARK_UPDATE_GOLDEN") != nullptr) cv::imwrite(docs + '/' + file, drawn);
    const cv::Mat kept = cv::imread(docs + '/' + file);
    ASSERT_EQ(kept.size(), drawn.size()) << file;
    EXPECT_EQ(cv::norm(kept, drawn, cv::NORM_INF), 0.0) << file;
  }
  std::size_t pictures = 0;
  for (std::size_t i = page.find("](img/"); i != std::string::npos; i = page.find("](img/", i + 1))
    ++pictures;
  EXPECT_EQ(pictures, TuningCases().size());
}

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

TEST(Tuning, PageListsEveryLimitAndWhatMovesIt) {
  const std::string page = test::ContentOf(QUILLMARK_DOCS "/tuning.md");
  EXPECT_NE(page.find(TableOfLimits()), std::string::npos) << "the page's table should be\n"
                                                           << TableOfLimits();
}

}  // namespace
}  // namespace quillmark::explain
