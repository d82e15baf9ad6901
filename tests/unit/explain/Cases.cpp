#include "Cases.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>

#include "explain/Explain.h"
#include "specs/Utf8.h"
#include "support/Images.h"

namespace quillmark::explain {
namespace {

using testing::Random;

const cv::Size kButton(48, 28);
const cv::Point kPlace(70, 40);

// A window: a light ground with a header and a few controls, room for a button at kPlace.
cv::Mat Window() {
  cv::Mat window(100, 180, CV_8UC3, cv::Scalar(236, 233, 230));
  cv::rectangle(window, cv::Rect(0, 0, 180, 16), cv::Scalar(120, 92, 70), cv::FILLED);
  cv::putText(window, "Settings", {5, 12}, cv::FONT_HERSHEY_PLAIN, 0.7, cv::Scalar(245, 245, 245));
  for (int y : {30, 50, 70}) {
    cv::rectangle(window, cv::Rect(8, y, 10, 10), cv::Scalar(110, 110, 110));
    cv::line(window, {24, y + 5}, {52, y + 5}, cv::Scalar(160, 160, 160));
  }
  return window;
}

cv::Mat Button(const std::string& text, const cv::Scalar& ground, const cv::Scalar& ink) {
  cv::Mat button(kButton, CV_8UC3, ground);
  cv::rectangle(button, cv::Rect(cv::Point(), kButton), ground * 0.6);
  cv::putText(button, text, {8, 19}, cv::FONT_HERSHEY_PLAIN, 0.9, ink);
  return button;
}

cv::Mat Faint(const std::string& text) {
  return testing::Label(kButton, text, cv::Scalar::all(225), cv::Scalar::all(190));
}

cv::Mat SaveButton() {
  return Button("Save", cv::Scalar(180, 120, 40), cv::Scalar(255, 255, 255));
}

cv::Mat Showing(const cv::Mat& image) {
  cv::Mat window = Window();
  testing::Plant(window, image, kPlace);
  return window;
}

cv::Mat Halves(const cv::Scalar& left, const cv::Scalar& right) {
  cv::Mat image(kButton, CV_8UC3, left);
  image.colRange(kButton.width / 2, kButton.width).setTo(right);
  return image;
}

cv::Mat Uniform(const cv::Scalar& colour) {
  return Halves(colour, colour);
}

// A ground that brightens from left to right, with lines across it or down, of the same length together.
cv::Mat Shaded(bool across) {
  cv::Mat image(kButton, CV_8UC3);
  for (int x = 0; x < image.cols; ++x) image.col(x).setTo(cv::Scalar::all(60 + 4 * x));
  const int lines = across ? 2 : 3;
  for (int i = 1; i <= lines; ++i) {
    const cv::Point from = across ? cv::Point(6, 9 * i) : cv::Point(12 * i, 2);
    const cv::Point to = across ? cv::Point(41, 9 * i) : cv::Point(12 * i, 25);
    cv::line(image, from, to, cv::Scalar::all(40));
  }
  return image;
}

cv::Mat WithMoreLines(const cv::Mat& original) {
  cv::Mat image = original.clone();
  cv::line(image, {8, 24}, {40, 24}, cv::Scalar(230, 170, 90));
  cv::line(image, {41, 4}, {43, 20}, cv::Scalar(230, 170, 90));
  return image;
}

cv::Mat TinyIcon(cv::Size size = {16, 16}) {
  Random random(4);
  return testing::Icon(random, size, "Q");
}

cv::Mat Enlarged(const cv::Mat& image, double factor) {
  cv::Mat enlarged;
  cv::resize(image, enlarged, {}, factor, factor, cv::INTER_NEAREST);
  return enlarged;
}

cv::Mat Noisy(const cv::Mat& image, int amount) {
  Random random(7);
  return testing::WithNoise(random, image, amount);
}

cv::Mat GreyLabel(const std::string& text) {
  return testing::Label(kButton, text, cv::Scalar::all(170), cv::Scalar::all(70));
}

cv::Mat UniformRed() {
  return {28, 46, CV_8UC3, cv::Scalar(40, 40, 210)};
}

cv::Mat WindowWith(const cv::Mat& image, cv::Point at) {
  cv::Mat window = Window();
  testing::Plant(window, image, at);
  return window;
}

// A disc; around it nothing, which is black where someone looks at the colour.
cv::Mat RoundIcon() {
  cv::Mat icon(28, 28, CV_8UC4, cv::Scalar::all(0));
  cv::circle(icon, {14, 14}, 11, cv::Scalar(60, 160, 40, 255), cv::FILLED);
  cv::circle(icon, {14, 14}, 5, cv::Scalar(240, 250, 235, 255), cv::FILLED);
  return icon;
}

// What a window shows of an image with transparent parts.
cv::Mat OnWindow(const cv::Mat& bgra) {
  cv::Mat shown(bgra.size(), CV_8UC3, cv::Scalar(236, 233, 230)), alpha, bgr;
  cv::extractChannel(bgra, alpha, 3);
  cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
  bgr.copyTo(shown, alpha);
  return shown;
}

}  // namespace

std::vector<Case> AllCases() {
  const cv::Scalar red(40, 40, 210), blue(120, 120, 60), pale = cv::Scalar::all(225),
                                                         faded = cv::Scalar::all(190);
  std::vector<Case> cases;
  const auto add = [&](std::string name, std::optional<Reason> expected, const cv::Mat& tmpl,
                       const cv::Mat& screen) -> Case& {
    return cases.emplace_back(Case{std::move(name), expected, tmpl, screen});
  };
  const cv::Mat save = SaveButton(), shown = Showing(save);
  add("hit", {}, save, shown);
  add("hit-noisy", {}, save, Showing(Noisy(save, 12)));
  add("hit-clipped", {}, save, shown).client = {-40, 0, 180, 100};
  add("hit-scaled", {}, save, Enlarged(shown, 1.5)).scale = 1.5;
  add("hit-hue-of-another-button", {}, save,
      Showing(Button("Stop", cv::Scalar(180, 60, 90), cv::Scalar(255, 255, 255))))
      .specName = L"button:HS";
  add("difference", Reason::Difference, save, Window());
  add("difference-darker", Reason::Difference, save, Showing(save * 0.7));
  add("difference-tiny", Reason::Difference, TinyIcon(), Showing(Noisy(TinyIcon(), 110)));
  add("difference-region-misses", Reason::Difference, save, shown).roi = {0, 0, 90, 60};
  add("min-score", Reason::MinScore, save, Showing(save * 0.87)).threshold = 0.99f;
  add("flat-white", Reason::FlatWhite, Uniform(cv::Scalar::all(250)),
      Showing(Halves(cv::Scalar::all(240), cv::Scalar::all(250))))
      .roi = {70, 40, 48, 28};
  add("darkness", Reason::Darkness, Uniform(cv::Scalar(20, 200, 200)),
      Showing(Uniform(cv::Scalar(20, 160, 160))));
  add("grey-correlation", Reason::GreyCorrelation, Faint("Save"), Showing(Faint("Load")));
  add("hit-other-letters", {}, Button("Save", pale, faded), Showing(Button("Load", pale, faded)));
  add("edge-correlation", Reason::EdgeCorrelation, Shaded(true), Showing(Shaded(false)));
  add("edge-correlation-asked-high", Reason::EdgeCorrelation, save, Showing(Noisy(save, 8))).edgeMin = 0.99f;
  add("edge-density", Reason::EdgeDensity, save, Showing(WithMoreLines(save)));
  add("chroma", Reason::Chroma, Halves(red, blue), Showing(Halves(blue, red))).specName = L"redlamp";
  add("colour", Reason::Colour, Halves(red, cv::Scalar(70, 70, 120)),
      Showing(Halves(cv::Scalar(20, 85, 135), cv::Scalar(60, 80, 95))))
      .specName = L"lamp:RED";
  add("region-outside-target", Reason::RegionOutsideTarget, save, shown).roi = {300, 0, 50, 50};
  Case& off = add("region-off-monitor", Reason::RegionOffMonitor, save, shown);
  off.roi = {0, 0, 60, 60};
  off.client = {-100, 0, 80, 100};
  add("region-too-small", Reason::RegionTooSmall, save, shown).roi = {70, 40, 40, 40};
  Case& rounded = add("no-placement", Reason::NoPlacement, TinyIcon({22, 16}), shown);
  rounded.roi = {70, 40, 22, 22};
  rounded.scale = 0.7;
  return cases;
}

std::vector<Case> TuningCases() {
  const cv::Scalar white = cv::Scalar::all(255), pale = cv::Scalar::all(225), faded = cv::Scalar::all(190);
  const cv::Mat save = SaveButton();
  const cv::Mat load = Button("Load", cv::Scalar(180, 120, 40), white);
  const cv::Mat paleSave = Button("Save", pale, faded), paleLoad = Button("Load", pale, faded);
  std::vector<Case> cases;
  const auto add = [&](std::string name, std::optional<Reason> expected, const cv::Mat& tmpl,
                       const cv::Mat& screen, std::wstring specName = L"button") -> Case& {
    return cases.emplace_back(Case{std::move(name), expected, tmpl, screen, std::move(specName)});
  };
  add("threshold", Reason::Difference, save, Showing(save * 0.7)).threshold = 0.8f;
  add("letters", {}, paleSave, Showing(paleLoad));
  add("edge-floor", Reason::EdgeCorrelation, Shaded(true), Showing(Shaded(false))).edgeMin = 0.3f;
  add("tiny", Reason::Difference, TinyIcon(), Showing(Noisy(TinyIcon(), 110)), L"button:sq=0.2");
  Case& clipped = add("clipped", {}, save, Showing(save * 0.75), L"button:sq=0.05");
  clipped.client = {-40, 0, 180, 100};
  add("flat", {}, Uniform(cv::Scalar::all(200)), Showing(Uniform(cv::Scalar::all(140)))).roi = {70, 40, 48,
                                                                                                28};
  add("alpha", Reason::Difference, RoundIcon(), Showing(OnWindow(RoundIcon())));
  add("hue-alone", {}, save, Showing(Button("Stop", cv::Scalar(180, 60, 90), white)), L"button:HS");
  add("hue-uniform", {}, Uniform(cv::Scalar(20, 130, 230)), Showing(Uniform(cv::Scalar(60, 200, 60))),
      L"lamp:H")
      .roi = {70, 40, 48, 28};
  add("hue-zero", Reason::Difference, paleSave, Showing(paleSave), L"button:HS");
  add("strict", {}, save, Showing(load), L"button:mode=bgr:strict");
  add("red-in-name", {}, GreyLabel("Save"), Showing(GreyLabel("Load")), L"Credits");
  add("red-uniform", Reason::Chroma, UniformRed(), Showing(UniformRed()), L"lamp:RED");
  add("suffix-and-words", Reason::GreyCorrelation, save, Showing(load), L"button:HS:ms100");
  Case& edge = add("right-edge", {}, save, WindowWith(save, {132, 40}));
  edge.threshold = 0.98f;
  return cases;
}

Explanation Explained(const Case& c, const std::string& folder) {
  const std::string file = folder + "/template.png";
  if (!cv::imwrite(file, c.tmpl)) throw std::runtime_error("no template");
  SpecRequest request{L"window", c.specName, FromUtf8(file), c.roi, c.edgeMin, c.threshold};
  Explanation e = PrepareExplanation(request);
  e.spec.targetRect = c.client == Rect{} ? Rect{0, 0, c.screen.cols, c.screen.rows} : c.client;
  e.spec.targetScaleX = e.spec.targetScaleY = c.scale;
  e.spec.targetValid = true;
  cv::Mat bgra;
  cv::cvtColor(c.screen, bgra, cv::COLOR_BGR2BGRA);
  if (!e.reason) ExplainOn(e, {bgra, {0, 0}});
  return e;
}

}  // namespace quillmark::explain
