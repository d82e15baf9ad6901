// What lint finds in specs with one problem each, and in specs without. The pages list every finding and
// reason, in the same order and words.
#include "advice/Lint.h"

#include <gtest/gtest.h>

#include <fstream>
#include <opencv2/imgproc.hpp>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "reasons/Reasons.h"
#include "support/Images.h"
#include "unit/specs/TemplateFolder.h"

namespace quillmark::advice {
namespace {

using namespace quillmark::testing;
using Ids = std::vector<std::string>;

Ids IdsOf(const std::vector<Finding>& findings) {
  Ids ids;
  for (const Finding& finding : findings) ids.emplace_back(EntryOf(finding.code).id);
  return ids;
}

cv::Mat PlainHue(int hue, cv::Size size = {40, 40}) {
  cv::Mat image(size, CV_8UC3, cv::Scalar(hue, 220, 220));
  cv::cvtColor(image, image, cv::COLOR_HSV2BGR);
  return image;
}

test::FileBytes Lossy(const cv::Mat& image, const char* extension = ".jpg") {
  constexpr int quality = 85;
  test::FileBytes file;
  const bool jpeg = std::string(extension) == ".jpg";
  cv::imencode(extension, image, file, {jpeg ? cv::IMWRITE_JPEG_QUALITY : cv::IMWRITE_WEBP_QUALITY, quality});
  return file;
}

cv::Mat ThroughJpeg(const cv::Mat& image) {
  return cv::imdecode(Lossy(image), cv::IMREAD_COLOR);
}

class LintTest : public ::testing::Test {
 protected:
  // A spec without problems.
  LintSpec SpecFor(const cv::Mat& image, const std::wstring& name = L"button") {
    return SpecAt(folder.WriteImage(std::to_string(files++) + ".png", image), name);
  }
  LintSpec SpecAt(const std::wstring& path, const std::wstring& name = L"button") {
    LintSpec spec;
    spec.request.target = L"calc.exe";
    spec.request.name = name;
    spec.request.path = path;
    spec.request.roi = cv::Rect(0, 0, 300, 200);
    return spec;
  }
  LintSpec GoodSpec(const std::wstring& name = L"button") { return SpecFor(good, name); }
  Ids Found(const LintSpec& spec) { return IdsOf(Lint({spec})); }

  const test::TemplateFolder folder;
  int files = 0;
  Random random{3};
  const cv::Mat good = Icon(random, {48, 40}, "OK");
  const cv::Mat greyText = Label({60, 30}, "Hello", cv::Scalar::all(255), cv::Scalar::all(0));
};

TEST_F(LintTest, ChecksNamesAndOptions) {
  const std::pair<Ids, std::vector<const wchar_t*>> cases[] = {
      {{},
       {L"button", L"b:fps10:mode=bgr:mon=2:sq=0.05", L"button:BGR", L"button:MS150", L"button:fast",
        L"red-button", L"RedButton", L"button:RED", L"T10", L"button:fast:sq=0.05",
        L"0123456789012345678901234567890"}},
      {{"name-empty"}, {L"", L":fps10"}},
      {{"name-t1"}, {L"T1"}},
      {{"option-ignored"},
       {L"button:MS5", L"button:FPS", L"button:hs", L"button:HS:fps10", L"button:ms=150", L"button:sq=1",
        L"button:sq=0,05", L"button:mon=0"}},
      {{"option-ignored", "option-ignored"}, {L"button:mode=hsv:"}},
      {{"option-overridden"}, {L"button:sq=0.05:fast", L"button:mode=gray:fast", L"button:ms100:fps20"}},
      {{"red-in-name"}, {L"bored", L"Shredded", L"button:Credits"}},
      {{"structure-waived"}, {L"button:mode=bgr:strict"}},
      {{"hue-loose"}, {L"button:strict"}},
      {{"too-long"}, {L"01234567890123456789012345678901", L"012345678901234567890123456:fps10"}},
  };
  for (const auto& [expected, names] : cases) {
    for (const wchar_t* name : names) EXPECT_EQ(Found(GoodSpec(name)), expected) << ToUtf8(name);
  }
}

TEST_F(LintTest, ChecksTargetsPathsAndRegions) {
  const auto with = [&](auto change) {
    LintSpec spec = GoodSpec();
    change(spec.request);
    return Found(spec);
  };
  const std::pair<const wchar_t*, Ids> targets[] = {
      {L"", {"target-empty"}}, {L"calc.Exe", {"target-exe-case"}}, {L".exe", {"target-exe-case"}},
      {L"CALC.EXE", {}},       {L"a window's title", {}},          {L"a window's titles", {"too-long"}}};
  for (const auto& [target, expected] : targets) {
    EXPECT_EQ(with([&](auto& request) { request.target = target; }), expected) << ToUtf8(target);
  }
  EXPECT_EQ(with([](auto& request) { request.path = std::wstring(65, L'x'); }),
            (Ids{"too-long", "image-refused"}));

  const std::pair<cv::Rect, Ids> regions[] = {{{0, 0, 49, 41}, {}},
                                              {{0, 0, 48, 41}, {"region-tight"}},
                                              {{0, 0, 47, 41}, {"region-too-small"}},
                                              {{-10, 0, 70, 60}, {"region-cut"}},
                                              {{-30, 0, 70, 60}, {"region-too-small"}},
                                              {{-70, 0, 70, 60}, {"region-outside"}}};
  for (const auto& [region, expected] : regions) {
    EXPECT_EQ(with([&](auto& request) { request.roi = region; }), expected) << region;
  }
}

TEST_F(LintTest, ChecksLimits) {
  const std::tuple<const wchar_t*, float, Ids> cases[] = {
      {L"button", 0.02f, {}},
      {L"button", 0.95f, {}},
      {L"button", 0.0f, {"difference-tight"}},
      {L"button", 1.0f, {"difference-tight"}},
      {L"button", 0.3f, {"difference-loose"}},
      {L"button", 0.6f, {"score-without-effect"}},
      {L"button", 0.8f, {"score-without-effect"}},
      {L"button:fast", 0.05f, {"option-overridden"}},
      {L"button:HS", 0.05f, {"hue-loose"}},
      {L"button:HS", 0.6f, {"score-without-effect", "hue-loose"}},
      {L"button:HS", 0.95f, {}},
  };
  for (const auto& [name, threshold, expected] : cases) {
    LintSpec spec = GoodSpec(name);
    spec.request.threshold = threshold;
    EXPECT_EQ(Found(spec), expected) << ToUtf8(name) << ' ' << threshold;
  }
  LintSpec edges = GoodSpec();
  for (const float edgeMin : {0.7f, 0.9f}) {
    edges.request.edgeMin = edgeMin;
    EXPECT_EQ(Found(edges), Ids{}) << edgeMin;
  }
  edges.request.edgeMin = 0.5f;
  EXPECT_EQ(Found(edges), Ids{"edge-min-without-effect"});
  edges.request.edgeMin = 1.5f;
  EXPECT_EQ(Found(edges), Ids{"never-on-itself"});
  edges.request.name = L"button:mode=h";
  EXPECT_EQ(Found(edges), (Ids{"edge-min-without-effect", "hue-loose"}));
}

TEST_F(LintTest, ChecksTemplates) {
  const cv::Mat black(40, 40, CV_8UC3, cv::Scalar());
  EXPECT_EQ(Found(SpecFor(cv::Mat(40, 40, CV_8UC3, cv::Scalar::all(252)))), Ids{"blank-white"});
  EXPECT_EQ(Found(SpecFor(black)), Ids{"flat"});
  EXPECT_EQ(Found(SpecFor(black, L"b:BGR")), (Ids{"never-on-itself", "flat"}));
  EXPECT_EQ(Found(SpecFor(good(cv::Rect(0, 0, 16, 16)))), Ids{"tiny"});
  EXPECT_EQ(Found(SpecFor(good(cv::Rect(0, 0, 17, 16)))), Ids{});
  EXPECT_EQ(Found(SpecFor(greyText)), Ids{});
  EXPECT_EQ(Found(SpecFor(greyText, L"text:S")), Ids{"never-on-itself"});
  EXPECT_EQ(Found(SpecFor(greyText, L"text:RED")), (Ids{"matches-plain", "red-without-red"}));

  // Few edges, but some contrast.
  cv::Mat line(120, 120, CV_8UC3, cv::Scalar::all(120));
  line(cv::Rect(30, 60, 50, 1)).setTo(cv::Scalar::all(255));
  EXPECT_EQ(Found(SpecFor(line)), Ids{"low-detail"});
  // Without structure checks, thin text differs little from its background.
  const cv::Mat faint = Label({60, 30}, "Hello", cv::Scalar::all(200), cv::Scalar::all(120));
  EXPECT_EQ(Found(SpecFor(faint, L"text:mode=bgr:strict")), (Ids{"matches-plain", "structure-waived"}));
}

TEST_F(LintTest, ChecksHues) {
  EXPECT_EQ(Found(SpecFor(PlainHue(60), L"b:H")), (Ids{"hue-loose", "hue-blind"}));
  EXPECT_EQ(Found(SpecFor(PlainHue(90), L"b:HS")), (Ids{"hue-loose", "hue-blind"}));
  EXPECT_EQ(Found(SpecFor(PlainHue(0), L"b:H")), (Ids{"never-on-itself", "hue-loose"}));
  EXPECT_EQ(Found(SpecFor(greyText, L"b:H")), (Ids{"never-on-itself", "hue-loose", "hue-of-grey"}));
  cv::Mat reds = PlainHue(4);
  PlainHue(175, {40, 20}).copyTo(reds(cv::Rect(0, 10, 40, 20)));
  LintSpec strictReds = SpecFor(reds, L"b:H");
  strictReds.request.threshold = 0.95f;
  EXPECT_EQ(Found(strictReds), Ids{"hue-seam"});
}

TEST_F(LintTest, ChecksImageFiles) {
  EXPECT_EQ(Found(SpecAt(folder.Write("a.jpg", Lossy(good)))), Ids{"lossy-file"});
  if (cv::haveImageWriter(".webp")) {
    EXPECT_EQ(Found(SpecAt(folder.Write("a.webp", Lossy(good, ".webp")))), Ids{"lossy-file"});
  }
  const cv::Mat label = Label({60, 30}, "Hello", cv::Scalar::all(200), cv::Scalar::all(0));
  EXPECT_EQ(Found(SpecFor(label)), Ids{});
  EXPECT_EQ(Found(SpecFor(ThroughJpeg(label))), Ids{"compression-traces"});
  cv::Mat photo;
  cv::GaussianBlur(Noise(random, {96, 96}), photo, {}, 2.0);
  photo = (photo - 90) * 3;
  EXPECT_EQ(Found(SpecFor(photo)), Ids{});
  EXPECT_EQ(Found(SpecFor(ThroughJpeg(photo))), Ids{"compression-traces"});

  cv::Mat withAlpha;
  cv::cvtColor(good, withAlpha, cv::COLOR_BGR2BGRA);
  EXPECT_EQ(Found(SpecFor(withAlpha)), Ids{});
  withAlpha.at<cv::Vec4b>(5, 5)[3] = 254;
  EXPECT_EQ(Found(SpecFor(withAlpha)), Ids{"alpha-unused"});

  const std::vector<Finding> rejected = Lint({SpecAt(folder.Write("text.png", {'n', 'o'}))});
  ASSERT_EQ(IdsOf(rejected), Ids{"image-refused"});
  EXPECT_EQ(std::get<std::string>(rejected.front().facts.front().value), "image-format");
}

TEST_F(LintTest, ChecksTheSpecOnAScreenshot) {
  const auto found = [&](const cv::Mat& screen, LintSpec spec) {
    WindowPicture window;
    cv::cvtColor(screen, window.bgra, cv::COLOR_BGR2BGRA);
    return IdsOf(Lint({spec}, &window));
  };
  cv::Mat screen(200, 300, CV_8UC3, cv::Scalar(90, 60, 30));
  LintSpec spec = GoodSpec();
  EXPECT_EQ(found(screen, spec), Ids{"not-on-picture"});
  Plant(screen, good, {20, 30});
  EXPECT_EQ(found(screen, spec), Ids{});
  spec.request.roi.width = 400;
  EXPECT_EQ(found(screen, spec), Ids{"region-cut"});
  spec.request.roi = {310, 0, 60, 60};
  EXPECT_EQ(found(screen, spec), Ids{"region-outside"});

  spec = GoodSpec();
  Plant(screen, WithNoise(random, good, 4), {200, 120});
  EXPECT_EQ(found(screen, spec), Ids{"second-accepted"});
  spec.request.roi.width = 150;
  EXPECT_EQ(found(screen, spec), Ids{});

  // The same brightness without the edges.
  cv::Mat blurred;
  cv::blur(good, blurred, {5, 5});
  Plant(screen, blurred, {200, 120});
  spec = GoodSpec();
  EXPECT_EQ(found(screen, spec), Ids{"second-close"});
}

TEST_F(LintTest, ChecksSpecsAgainstEachOther) {
  const auto found = [](std::vector<LintSpec> specs) { return IdsOf(Lint(specs)); };
  LintSpec a = GoodSpec(L"a"), b = GoodSpec(L"b");
  const LintSpec other = SpecFor(greyText, L"c");
  EXPECT_EQ(found({a, other}), Ids{});
  EXPECT_EQ(found({a, b}), (Ids{"matches-other", "matches-other"}));
  EXPECT_EQ(found({a, GoodSpec(L"a:fps10")}), Ids{"same-name"});
  b.request.roi = {300, 0, 100, 100};
  EXPECT_EQ(found({a, b}), Ids{}) << "the regions do not overlap";
  b = GoodSpec(L"b");
  b.request.target = L"other";
  EXPECT_EQ(found({a, b}), Ids{}) << "the windows differ";
  b.hasTarget = b.hasRegion = b.hasName = false;
  EXPECT_EQ(found({a, b}), (Ids{"matches-other", "matches-other"}));
}

// The rows of a page's tables, each with the heading above it.
std::vector<std::string> RowsOf(const char* file) {
  std::ifstream page(std::string(QUILLMARK_DOCS "/") + file);
  std::vector<std::string> rows;
  std::string heading;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## ")) heading = line.substr(3);
    if (line.starts_with("| `")) rows.push_back(heading + ": " + line);
  }
  return rows;
}

std::string Row(std::string_view heading, std::string_view code,
                std::initializer_list<std::string_view> cells) {
  std::string row = std::string(heading) + ": | `" + std::string(code) + "` |";
  for (const std::string_view cell : cells) row += ' ' + std::string(cell) + " |";
  return row;
}

TEST(Pages, ListEveryFindingAndReason) {
  std::vector<std::string> findings, reasons;
  for (const FindingEntry& f : AllFindings()) {
    findings.push_back(Row(TitleOf(f.topic), f.id, {WordOf(f.severity), f.meaning, f.consequence, f.remedy}));
    EXPECT_EQ(FindingOfId(f.id), f.code);
  }
  for (const reasons::ReasonEntry& r : reasons::AllReasons()) {
    reasons.push_back(Row(TitleOf(r.stage), r.code, {r.meaning, r.remedy, r.namedBy}));
    EXPECT_EQ(reasons::ReasonOfCode(r.code), r.reason);
  }
  EXPECT_EQ(RowsOf("lint.md"), findings);
  EXPECT_EQ(RowsOf("silence.md"), reasons);
}

}  // namespace
}  // namespace quillmark::advice
