// Which limits tune finds between known positives and negatives, and what it proposes.
#include "advice/Tune.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "advice/TuneReports.h"
#include "picture/PictureFile.h"
#include "support/Images.h"
#include "unit/specs/TemplateFolder.h"

namespace quillmark::advice {
namespace {

using namespace quillmark::testing;
using ::testing::HasSubstr;

std::string PlainText(const TuneReport& report, const std::vector<std::string>& files) {
  return TuneText(report, files, [](explain::Paint, const std::string& text) { return text; });
}

class TuneTest : public ::testing::Test {
 protected:
  TuneTest() {
    input.spec.target = L"calc.exe";
    input.spec.name = L"ok";
    input.spec.path = folder.WriteImage("template.png", icon);
  }
  void Add(bool positive, const cv::Mat& picture) {
    files.push_back((positive ? "p" : "n") + std::to_string(files.size()) + ".png");
    input.pictures.push_back({folder.WriteImage(files.back(), picture), positive});
  }
  cv::Mat ScreenWith(const cv::Mat& image) {
    cv::Mat screen = Screen(random, {160, 120});
    Plant(screen, image, {40, 30});
    return screen;
  }
  // Screens with the icon, each a little noisier, and screens without it.
  void AddEasyPictures() {
    for (int noise = 4; noise <= 16; noise += 4) Add(true, ScreenWith(WithNoise(random, icon, noise)));
    for (int i = 0; i < 4; ++i) Add(false, Screen(random, {160, 120}));
  }
  // Buttons like the icon, with other letters.
  void AddSimilarButtons() {
    for (int i = 0; i < 3; ++i) Add(false, ScreenWith(Icon(random, {48, 40}, "NO")));
  }
  const FigureReport& Figure(const TuneReport& report, const std::string& id) {
    return *std::ranges::find(report.figures, id, &FigureReport::id);
  }
  // The report with a proposal's settings.
  TuneReport WithProposal(const Proposal& proposal) {
    TuneInput changed = input;
    changed.spec = proposal.setting.request;
    return Tune(changed);
  }

  Random random{11};
  const test::TemplateFolder folder;
  const cv::Mat icon = Icon(random, {48, 40}, "OK");
  TuneInput input;
  std::vector<std::string> files;
};

TEST_F(TuneTest, CorrectSpecNeedsNothingAndUnusablePicturesAreSkipped) {
  AddEasyPictures();
  files.insert(files.end(), {"cut.png", "none.png"});
  const std::string whole = test::ContentOf(folder.Native("p0.png"));
  input.pictures.push_back({folder.Write("cut.png", {whole.begin(), whole.begin() + 60}), true});
  input.pictures.push_back({folder.Path("none.png"), false});
  const TuneReport report = Tune(input);
  EXPECT_TRUE(report.right);
  EXPECT_TRUE(report.proposals.empty());
  EXPECT_EQ(report.samples.size(), 8u);
  ASSERT_EQ(report.unused.size(), 2u);
  EXPECT_NE(report.unused[0].fault, report.unused[1].fault);
  EXPECT_EQ(TuneJson(report, files)["unused"].size(), 2u);
  EXPECT_TRUE(std::ranges::is_sorted(FilesIn(folder.Utf8(""))));

  input.spec.path = folder.Path("none.png");
  EXPECT_EQ(Tune(input).rejectedImage, reasons::Reason::ImageMissing);
}

TEST_F(TuneTest, ProposesAThresholdThatSeparatesSimilarButtons) {
  AddEasyPictures();
  AddSimilarButtons();
  const TuneReport report = Tune(input);
  EXPECT_FALSE(report.right);
  ASSERT_EQ(report.proposals.size(), 1u);

  const std::string text = PlainText(report, files) + '\n', page = test::ContentOf(QUILLMARK_DOCS "/tune.md");
  const std::size_t at = text.find("Difference, at most 0.1; can be set\n");
  EXPECT_THAT(page, HasSubstr("\n```\n" + text.substr(at, text.find("\n\n", at) - at) + "\n```\n"));
  for (const char* part :
       {"Positives  4 of 4 are hits\nNegatives  4 of 7 are rejected; rejected by difference 4\n"
        "  wrong: n8.png, a hit, difference 0.0365\n",
        "\nEdge correlation, at least 0.69 to 0.75; can be set\n",
        " ^  ^ limit\n  No limit separates them.\n\nEdge density, at most 0.04; fixed\n",
        "\n\nThese settings decide every screenshot correctly:\n  --threshold 0.02\n"
        "      difference at most 0.02: positives reach 0.00378, negatives begin at 0.0365\n"}) {
    EXPECT_THAT(text, HasSubstr(part));
  }

  const Separation& range = report.proposals.front().ranges.difference;
  EXPECT_EQ(range.low, Figure(report, "difference").separation->low);
  EXPECT_GT(report.proposals.front().setting.difference, range.low);
  EXPECT_LT(report.proposals.front().setting.difference, range.high);
  EXPECT_TRUE(WithProposal(report.proposals.front()).right);
}

TEST_F(TuneTest, ProposalsReplaceWhatTheSpecSets) {
  AddEasyPictures();
  AddSimilarButtons();
  const std::pair<const wchar_t*, float> cases[] = {
      {L"ok", 0.3f},         {L"ok", 0.6f},       {L"ok:sq=0.3", -1.0f},         {L"ok:fast", -1.0f},
      {L"ok:fps10", 0.001f}, {L"ok:BGR", 0.001f}, {L"ok:strict:mode=bgr", 0.0f}, {L"ok:FPS10", 0.3f}};
  for (const auto& [name, threshold] : cases) {
    input.spec.name = name;
    input.spec.threshold = threshold;
    const TuneReport report = Tune(input);
    EXPECT_FALSE(report.right) << ToUtf8(name);
    ASSERT_EQ(report.proposals.size(), 1u) << ToUtf8(name) << report.obstacle;
    EXPECT_TRUE(WithProposal(report.proposals.front()).right) << ToUtf8(name);
  }
}

// The icon's brightness with one Cr everywhere.
cv::Mat Tinted(const cv::Mat& icon, int cr) {
  cv::Mat gray, tinted;
  cv::cvtColor(icon, gray, cv::COLOR_BGR2GRAY);
  gray.convertTo(gray, CV_8U, 0.4, 70.0);
  const cv::Mat planes[] = {gray, cv::Mat(gray.size(), CV_8U, cv::Scalar(cr)),
                            cv::Mat(gray.size(), CV_8U, cv::Scalar(128))};
  cv::merge(planes, 3, tinted);
  cv::cvtColor(tinted, tinted, cv::COLOR_YCrCb2BGR);
  return tinted;
}

TEST_F(TuneTest, ProposesOtherModesWhenNoLimitOfItsOwnWorks) {
  const cv::Mat reddish = Tinted(icon, 158), greenish = Tinted(icon, 98);
  input.spec.path = folder.WriteImage("reddish.png", reddish);
  for (int i = 0; i < 4; ++i) {
    Add(true, ScreenWith(WithNoise(random, reddish, 6)));
    Add(false, ScreenWith(WithNoise(random, greenish, i)));
  }
  const TuneReport report = Tune(input);
  EXPECT_THAT(report.obstacle, HasSubstr("edges do not separate them"));
  ASSERT_FALSE(report.proposals.empty());
  for (const Proposal& proposal : report.proposals) {
    EXPECT_TRUE(WithProposal(proposal).right) << ToUtf8(proposal.setting.request.name);
  }
  const std::string text = PlainText(report, files);
  for (const char* part :
       {"  --name ok:strict:mode=bgr\n", "      strict: grey values and edges no longer decide; ",
        "\nTried without success:\n  ok:mode=hs: 3 negatives differ no more"}) {
    EXPECT_THAT(text, HasSubstr(part));
  }
}

TEST_F(TuneTest, EdgesSeparateWhatTheDifferenceDoesNot) {
  input.spec.edgeMin = 0.7f;
  input.spec.threshold = 0.2f;
  cv::Mat smeared;
  cv::blur(icon, smeared, {3, 1});
  for (int i = 0; i < 3; ++i) Add(true, ScreenWith(icon * (0.7 + 0.01 * i)));
  for (int i = 0; i < 3; ++i) Add(false, ScreenWith(WithNoise(random, smeared, i)));
  const TuneReport report = Tune(input);
  ASSERT_EQ(report.proposals.size(), 1u) << PlainText(report, files);
  EXPECT_TRUE(report.proposals.front().setting.edgeMin.has_value());
  EXPECT_TRUE(WithProposal(report.proposals.front()).right);
}

TEST_F(TuneTest, ProposesMoreRoomForABarelyCorrectLimit) {
  AddEasyPictures();
  input.spec.threshold = 0.004f;
  const TuneReport report = Tune(input);
  EXPECT_TRUE(report.right);
  ASSERT_EQ(report.proposals.size(), 1u);
  EXPECT_THAT(PlainText(report, files), HasSubstr("--threshold 0.1\n"));
}

TEST_F(TuneTest, RegionAndScaleApply) {
  Add(true, ScreenWith(icon));
  input.spec.edgeMin = 2.0f;
  const TuneReport alone = Tune(input);
  EXPECT_TRUE(!alone.right && alone.proposals.empty());
  EXPECT_THAT(PlainText(alone, files), HasSubstr("needs both positives and negatives"));
  input.spec.edgeMin = 0.75f;
  input.hasRegion = true;
  input.spec.roi = {30, 20, 70, 60};
  EXPECT_TRUE(Tune(input).right);
  input.spec.roi = {60, 20, 70, 60};
  EXPECT_EQ(Tune(input).samples.front().reason, reasons::Reason::Difference);
  input.spec.roi = {500, 20, 70, 60};
  EXPECT_EQ(Tune(input).samples.front().reason, reasons::Reason::RegionOutsideTarget);
  cv::Mat large;
  cv::resize(ScreenWith(icon), large, {}, 2.0, 2.0, cv::INTER_NEAREST);
  Add(true, large);
  input.spec.roi = {30, 20, 70, 60};
  input.scale = 2.0;
  EXPECT_TRUE(Tune(input).samples[1].IsHit());
}

}  // namespace
}  // namespace quillmark::advice
