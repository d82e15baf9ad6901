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

cv::Mat Showing(const cv::Mat& image, cv::Point at = kPlace) {
  cv::Mat window = Window();
  testing::Plant(window, image, at);
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

cv::Mat Noisy(const cv::Mat& image, int amount) {
  Random random(7);
  return testing::WithNoise(random, image, amount);
}

// A disc on a transparent ground, which is black where the colour is read.
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

struct CaseList {
  std::vector<Case> cases;

  Case& Add(std::string name, std::optional<Reason> expected, const cv::Mat& tmpl, const cv::Mat& screen,
            std::wstring specName = L"button") {
    return cases.emplace_back(Case{std::move(name), expected, tmpl, screen, std::move(specName)});
  }
};

}  // namespace

std::vector<Case> TuningCases() {
  const cv::Scalar white = cv::Scalar::all(255), blue(180, 120, 40);
  const cv::Mat save = Button("Save", blue, white), load = Button("Load", blue, white),
                stop = Button("Stop", cv::Scalar(180, 60, 90), white),
                pale = Button("Save", cv::Scalar::all(225), cv::Scalar::all(190)),
                paleLoad = Button("Load", cv::Scalar::all(225), cv::Scalar::all(190)),
                red(28, 46, CV_8UC3, cv::Scalar(40, 40, 210));
  const auto grey = [](const char* text) {
    return testing::Label(kButton, text, cv::Scalar::all(170), cv::Scalar::all(70));
  };
  const cv::Rect place(kPlace, kButton);
  CaseList list;
  list.Add("threshold", Reason::Difference, save, Showing(save * 0.7)).threshold = 0.8f;
  list.Add("letters", {}, pale, Showing(paleLoad));
  list.Add("edge-floor", Reason::EdgeCorrelation, Shaded(true), Showing(Shaded(false))).edgeMin = 0.3f;
  list.Add("tiny", Reason::Difference, TinyIcon(), Showing(Noisy(TinyIcon(), 110)), L"button:sq=0.2");
  list.Add("clipped", {}, save, Showing(save * 0.75), L"button:sq=0.05").client = {-40, 0, 180, 100};
  list.Add("flat", {}, Uniform(cv::Scalar::all(200)), Showing(Uniform(cv::Scalar::all(140)))).roi = place;
  list.Add("alpha", Reason::Difference, RoundIcon(), Showing(OnWindow(RoundIcon())));
  list.Add("hue-alone", {}, save, Showing(stop), L"button:HS");
  list.Add("hue-uniform", {}, Uniform({20, 130, 230}), Showing(Uniform({60, 200, 60})), L"lamp:H").roi =
      place;
  list.Add("hue-zero", Reason::Difference, pale, Showing(pale), L"button:HS");
  list.Add("strict", {}, save, Showing(load), L"button:mode=bgr:strict");
  list.Add("red-in-name", {}, grey("Save"), Showing(grey("Load")), L"Credits");
  list.Add("red-uniform", Reason::Chroma, red, Showing(red), L"lamp:RED");
  list.Add("suffix-and-words", Reason::GreyCorrelation, save, Showing(load), L"button:HS:ms100");
  list.Add("right-edge", {}, save, Showing(save, {132, 40})).threshold = 0.98f;
  return list.cases;
}

std::vector<Case> AllCases() {
  const cv::Scalar red(40, 40, 210), dull(120, 120, 60);
  const cv::Mat save = Button("Save", cv::Scalar(180, 120, 40), cv::Scalar::all(255)), shown = Showing(save);
  cv::Mat enlarged;
  cv::resize(shown, enlarged, {}, 1.5, 1.5, cv::INTER_NEAREST);
  CaseList list{TuningCases()};
  list.Add("hit", {}, save, shown);
  list.Add("hit-scaled", {}, save, enlarged).scale = 1.5;
  list.Add("difference", Reason::Difference, save, Window());
  list.Add("region-misses", Reason::Difference, save, shown).roi = {0, 0, 90, 60};
  list.Add("min-score", Reason::MinScore, save, Showing(save * 0.87)).threshold = 0.99f;
  list.Add("flat-white", Reason::FlatWhite, Uniform(cv::Scalar::all(250)),
           Showing(Halves(cv::Scalar::all(240), cv::Scalar::all(250))))
      .roi = {kPlace, kButton};
  list.Add("darkness", Reason::Darkness, Uniform({20, 200, 200}), Showing(Uniform({20, 160, 160})));
  list.Add("edge-min", Reason::EdgeCorrelation, save, Showing(Noisy(save, 8))).edgeMin = 0.99f;
  list.Add("edge-density", Reason::EdgeDensity, save, Showing(WithMoreLines(save)));
  list.Add("chroma", Reason::Chroma, Halves(red, dull), Showing(Halves(dull, red)), L"redlamp");
  list.Add("colour", Reason::Colour, Halves(red, {70, 70, 120}), Showing(Halves({20, 85, 135}, {60, 80, 95})),
           L"lamp:RED");
  list.Add("outside-target", Reason::RegionOutsideTarget, save, shown).roi = {300, 0, 50, 50};
  Case& off = list.Add("off-monitor", Reason::RegionOffMonitor, save, shown);
  off.roi = {0, 0, 60, 60};
  off.client = {-100, 0, 80, 100};
  list.Add("too-small", Reason::RegionTooSmall, save, shown).roi = {70, 40, 40, 40};
  Case& rounded = list.Add("no-placement", Reason::NoPlacement, TinyIcon({22, 16}), shown);
  rounded.roi = {70, 40, 22, 22};
  rounded.scale = 0.7;
  return list.cases;
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
