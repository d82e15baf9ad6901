// Explanations of drawn screenshots: what they decide, whether their figures agree with it, and how they
// read.
#include "explain/Explain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <set>
#include <sstream>
#include <string>

#include "Cases.h"
#include "explain/Reports.h"
#include "specs/Utf8.h"
#include "support/Damage.h"
#include "support/TempFolder.h"

namespace quillmark::explain {
namespace {

std::string PlainText(const Explanation& e, std::size_t width = 0) {
  return TextReport(
      e, [](Paint, const std::string& text) { return text; }, width);
}

class Explain : public ::testing::Test {
 protected:
  Explanation Of(const Case& c) { return Explained(c, folder.Path().string()); }
  Explanation Named(const std::string& name) { return Of(*std::ranges::find(cases, name, &Case::name)); }

  const std::vector<Case> cases = AllCases();
  const test::TempFolder folder;
};

TEST_F(Explain, FirstVetoDecidesAndOutcomesFollowFromTheFigures) {
  for (const Case& original : cases) {
    for (const bool clipped : {false, true}) {
      Case c = original;
      if (clipped) c.client = {-30, -10, c.screen.cols, c.screen.rows};
      const Explanation e = Of(c);
      SCOPED_TRACE(c.name + ": " + e.sentence);
      EXPECT_TRUE(clipped || e.reason == c.expected);
      const auto veto = std::ranges::find(e.steps, StepOutcome::Vetoed, &Step::outcome);
      EXPECT_EQ(veto == e.steps.end() ? std::nullopt : veto->reason, e.reason);
      for (const Step& step : e.steps) {
        if (!step.gate) continue;
        EXPECT_FALSE(step.outcome == StepOutcome::Passed && step.gate->Margin() < 0.0) << step.id;
        EXPECT_FALSE(step.outcome == StepOutcome::Vetoed && step.gate->Margin() >= 0.0) << step.id;
      }
    }
  }
}

TEST_F(Explain, TuningPageQuotesTheSentenceForEachScreenshot) {
  const std::string page = test::ContentOf(QUILLMARK_DOCS "/tuning.md");
  std::size_t at = 0;
  for (const Case& c : TuningCases()) {
    const std::string sentence = Of(c).sentence;
    at = page.find("](img/tuning-" + c.name + ".png)", at);
    ASSERT_NE(at, std::string::npos) << c.name << " is not shown, or not in its place";
    EXPECT_EQ(page.find("```\n", at), page.find("```\n" + sentence + "\n```", at)) << sentence;
  }
  EXPECT_EQ(page.find("](img/", at + 1), std::string::npos) << "a section without a case";
}

// With QUILLMARK_UPDATE_GOLDEN set the file is written instead.
TEST_F(Explain, ReadsLikeTheGoldenText) {
  const std::filesystem::path file = QUILLMARK_GOLDEN "/colour.txt";
  const std::string text = PlainText(Named("colour")) + '\n';
  if (std::getenv("QUILLMARK_UPDATE_GOLDEN") != nullptr) std::ofstream(file) << text;
  EXPECT_EQ(text, test::ContentOf(file));
  EXPECT_THAT(
      PlainText(Named("clipped")),
      ::testing::AllOf(
          ::testing::ContainsRegex("Edge density .* waived  +part of the region is off the monitor\n"),
          ::testing::HasSubstr(
              "limit: the spec's limit (0.05), then part of the region is off the monitor")));
  EXPECT_THAT(PlainText(Named("right-edge")), ::testing::HasSubstr("156,54 is reported as 132,54"));
  EXPECT_THAT(
      PlainText(Named("too-small")),
      ::testing::HasSubstr("\n\nNot compared: the visible part of the region is smaller than the template "
                           "(48 x 28 on the desktop, in 40 x 40).  [region-too-small]\n\nFix: Enlarge"));
}

TEST_F(Explain, LinesFitTheTerminalAndSayTheSame) {
  const auto wordsOf = [](const std::string& text) {
    std::istringstream stream(text);
    return std::multiset<std::string>(std::istream_iterator<std::string>(stream), {});
  };
  for (const Case& c : cases) {
    const Explanation e = Of(c);
    for (const std::size_t width : {60u, 80u, 130u}) {
      const std::string text = PlainText(e, width);
      std::istringstream lines(text);
      for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), width) << line;
      std::multiset<std::string> expected = wordsOf(PlainText(e));
      if (width < 130) expected.erase("Remark");
      EXPECT_EQ(wordsOf(text), expected) << c.name << ' ' << width;
    }
  }
}

// The case with a remedy's change.
Case With(Case c, const std::string& change) {
  std::istringstream parts(change);
  for (std::string word; parts >> word;) {
    if (word.starts_with("sq=") || word.starts_with("mode=")) {
      c.specName += L':' + FromUtf8(word);
    } else if (word == "--threshold") {
      parts >> c.threshold;
    } else if (word == "--edge-min") {
      parts >> c.edgeMin;
    } else if (word == "--roi") {
      char comma = ' ';
      parts >> c.roi.x >> comma >> c.roi.y >> comma >> c.roi.width >> comma >> c.roi.height;
    } else if (change == "a name without 'red'") {
      c.specName = L"button";
    } else if (word != "and") {
      ADD_FAILURE() << "unknown change " << change;
    }
  }
  return c;
}

TEST_F(Explain, EachRemedyMakesAHit) {
  std::set<std::string> kinds;
  for (const Case& c : cases) {
    for (const Remedy& remedy : Of(c).remedies) {
      EXPECT_TRUE(Of(With(c, remedy.change)).IsHit()) << c.name << ": " << remedy.change;
      kinds.insert(remedy.change.substr(0, remedy.change.find_first_of("= ")));
    }
  }
  EXPECT_THAT(kinds, ::testing::IsSupersetOf({"sq", "mode", "--roi", "--edge-min", "--threshold", "a"}));
}

TEST_F(Explain, NamesTheFaultOfARejectedFile) {
  cv::imwrite((folder.Path() / "deep.png").string(), cv::Mat(9, 9, CV_16UC3, cv::Scalar::all(9)));
  cv::imwrite((folder.Path() / "good.png").string(), cv::Mat(9, 9, CV_8UC3, cv::Scalar::all(9)));
  std::ofstream(folder.Path() / "cut.png", std::ios::binary)
      << test::ContentOf(folder.Path() / "good.png").substr(0, 40);
  const std::pair<std::wstring, std::optional<Reason>> files[] = {{L"good.png", {}},
                                                                  {L"none.png", Reason::ImageMissing},
                                                                  {L"cut.png", Reason::ImageDamaged},
                                                                  {L"deep.png", Reason::ImageDepth},
                                                                  {L"half\xD83D.png", Reason::ImagePath}};
  for (const auto& [name, expected] : files) {
    const Explanation e =
        PrepareExplanation({L"t", L"n", folder.Path().wstring() + L'/' + name, {0, 0, 9, 9}});
    EXPECT_EQ(e.reason, expected) << e.sentence;
    EXPECT_EQ(e.sentence.empty(), !expected);
    EXPECT_TRUE(testing::IsOneLine(e.sentence)) << e.sentence;
  }
}

TEST_F(Explain, JsonHasEveryFigureExactlyAndItsFieldsAreDocumented) {
  const std::string page = test::ContentOf(QUILLMARK_DOCS "/explain.md");
  const std::function<void(const nlohmann::ordered_json&)> expectDocumented = [&](const auto& json) {
    for (const auto& [key, value] : json.items()) {
      EXPECT_TRUE(json.is_array() || page.find('`' + key + '`') != std::string::npos) << key;
      if (value.is_structured()) expectDocumented(value);
    }
  };
  for (const Case& c : cases) {
    const Explanation e = Of(c);
    const auto json = nlohmann::ordered_json::parse(JsonReport(e).dump());
    expectDocumented(json);
    EXPECT_EQ(json["hit"], e.IsHit());
    ASSERT_EQ(json["steps"].size(), e.steps.size());
    for (std::size_t i = 0; i < e.steps.size(); ++i) {
      if (!e.steps[i].gate) continue;
      EXPECT_EQ(json["steps"][i]["figure"].get<double>(), e.steps[i].gate->figure);
      EXPECT_EQ(json["steps"][i]["limit"].get<double>(), e.steps[i].gate->limit.Value());
    }
    if (!json.contains("report")) continue;
    EXPECT_EQ(json["report"]["score"].get<float>(), e.sight->verdict.sq);
    EXPECT_EQ(json["report"]["edge"].get<float>(), e.sight->verdict.edgeScore);
  }
}

std::vector<cv::Mat> ImagesIn(const std::string& page) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string begin = "\"data:image/png;base64,";
  std::vector<cv::Mat> images;
  for (std::size_t at = page.find(begin); at != std::string::npos; at = page.find(begin, at + 1)) {
    std::vector<std::uint8_t> bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (std::size_t i = at + begin.size(); digits.find(page[i]) != std::string::npos; ++i) {
      bits = bits << 6 | static_cast<std::uint32_t>(digits.find(page[i]));
      if ((count += 6) >= 8) bytes.push_back(static_cast<std::uint8_t>(bits >> (count -= 8)));
    }
    images.push_back(cv::imdecode(bytes, cv::IMREAD_COLOR));
  }
  return images;
}

TEST_F(Explain, PageIsSelfContainedAndShowsEveryStep) {
  for (Case c : cases) {
    c.specName = L"<b>&\"" + c.specName;
    const Explanation e = Of(c);
    const std::string page = HtmlReport(std::vector{e, e});
    for (const char* const foreign : {"http", "url(", "<script", "<link", "@import", "<b>&\""}) {
      EXPECT_EQ(page.find(foreign), std::string::npos) << c.name << ' ' << foreign;
    }
    for (const Step& step : e.steps) EXPECT_THAT(page, ::testing::HasSubstr("<b>" + step.title));
    const std::vector<cv::Mat> images = ImagesIn(page);
    EXPECT_EQ(images.size() >= 2 * 7, e.sight && e.sight->map) << c.name;
    EXPECT_TRUE(std::ranges::none_of(images, &cv::Mat::empty)) << c.name;
    ASSERT_TRUE(images.empty() || cv::norm(images[0], c.screen, cv::NORM_INF) == 0.0) << c.name;
  }
}

TEST_F(Explain, TakesAnyNumbersAndText) {
  constexpr int min = std::numeric_limits<int>::min(), max = std::numeric_limits<int>::max();
  Case c = cases.front();
  c.specName = L"red:sq=0.5hs\xD83D";
  for (const cv::Rect& roi :
       {cv::Rect(0, 0, 0, 0), {min, min, max, max}, {max, max, max, max}, {40, 40, min, -1}}) {
    for (const float number : {-0.0f, -1.0f, 1e30f, NAN}) {
      for (const double scale : {0.0, 0.25, 2.0}) {
        c.roi = roi;
        c.edgeMin = c.threshold = number;
        c.scale = scale;
        const Explanation e = Of(c);
        EXPECT_FALSE(e.sentence.empty());
        EXPECT_FALSE(PlainText(e).empty());
        EXPECT_NO_THROW((void)JsonReport(e).dump()) << "not UTF-8";
      }
    }
  }
}

}  // namespace
}  // namespace quillmark::explain
