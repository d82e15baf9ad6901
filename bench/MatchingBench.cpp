// Measures the pixel work: conversions of a whole frame, the searches, and the whole decision on a region.
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Measure.h"
#include "core/PrimarySearch.h"
#include "core/RegionEvaluation.h"
#include "support/Images.h"

namespace quillmark::bench {
namespace {

using testing::Random;

// -- conversions, into reused buffers as in the capture loop ----------------------------------------------

void MeasureConversions(const std::string& name, cv::Size size) {
  Random random(1);
  const cv::Mat bgr = testing::Noise(random, size);
  cv::Mat bgra, hsv;
  cv::cvtColor(bgr, bgra, cv::COLOR_BGR2BGRA);
  cv::cvtColor(bgr, hsv, cv::COLOR_BGR2HSV);
  const auto conversion = [&](const std::string& what, const cv::Mat& from, int code) {
    Measure("convert/" + what + "/" + name, [from, code](benchmark::State& state) {
      cv::Mat to;
      for (auto _ : state) cv::cvtColor(from, to, code);
    });
  };
  conversion("bgra-to-bgr", bgra, cv::COLOR_BGRA2BGR);
  conversion("bgr-to-gray", bgr, cv::COLOR_BGR2GRAY);
  conversion("bgr-to-hsv", bgr, cv::COLOR_BGR2HSV);
  Measure("convert/split-hsv/" + name, [hsv](benchmark::State& state) {
    std::vector<cv::Mat> planes;
    for (auto _ : state) cv::split(hsv, planes);
  });
}

// -- a region that shows the template once ---------------------------------------------------------------

struct Shown {
  ROIUnit unit;
  TemplateSpec spec;
};

Shown Show(cv::Size region, cv::Size size, MatchMode mode) {
  Random random(7);
  const cv::Mat icon = testing::Icon(random, size, "Qm");
  cv::Mat screen = testing::Screen(random, region);
  testing::Plant(screen, icon, {region.width / 3, region.height / 2});
  return {testing::UnitShowing(screen), testing::PreparedSpec(icon, mode)};
}

struct NamedMode {
  const char* name;
  MatchMode mode;
};
constexpr NamedMode kModes[] = {{"gray", MatchMode::Gray},
                                {"bgr", MatchMode::Bgr},
                                {"s", MatchMode::S},
                                {"h", MatchMode::H},
                                {"hs", MatchMode::HS}};

void MeasureSearches(const std::string& name, cv::Size region, cv::Size size) {
  for (const NamedMode& each : kModes) {
    const Shown shown = Show(region, size, each.mode);
    Measure(std::string("search/") + each.name + "/" + name, [shown](benchmark::State& state) {
      for (auto _ : state) benchmark::DoNotOptimize(SearchRegion(shown.unit, shown.spec));
    });
  }
}

// The image library's search of the same region, to compare with.
void MeasureLibrary(const std::string& name, cv::Size region, cv::Size size) {
  const Shown shown = Show(region, size, MatchMode::Gray);
  const auto measure = [&](const std::string& mode, const cv::Mat& image, const cv::Mat& tmpl) {
    Measure("library/" + mode + "/" + name, [image, tmpl](benchmark::State& state) {
      cv::Mat map;
      double least = 0.0;
      for (auto _ : state) {
        cv::matchTemplate(image, tmpl, map, cv::TM_SQDIFF_NORMED);
        cv::minMaxLoc(map, &least);
      }
    });
  };
  measure("gray", shown.unit.gray, shown.spec.tmplGray);
  measure("bgr", shown.unit.bgr, shown.spec.tmplBgr);
}

// A line of text changes; only the placements that touch it are searched.
void MeasureChanged(const std::string& name, cv::Size region, cv::Size size) {
  for (const NamedMode& each : kModes) {
    if (IsHueMode(each.mode)) continue;  // always searched whole
    const Shown shown = Show(region, size, each.mode);
    Measure(std::string("changed/") + each.name + "/" + name, [shown, region](benchmark::State& state) {
      const cv::Rect changed(region.width / 2, region.height / 4, 100, 18);
      PlacementMap map;
      (void)SearchRegion(shown.unit, shown.spec, {&map, {}});
      int level = 0;
      for (auto _ : state) {
        const cv::Scalar colour = cv::Scalar::all(++level % 256);
        for (cv::Mat image : {shown.unit.gray, shown.unit.bgr, shown.unit.sat}) image(changed).setTo(colour);
        benchmark::DoNotOptimize(SearchRegion(shown.unit, shown.spec, {&map, {&changed, 1}}));
      }
    });
  }
}

// -- the whole decision -----------------------------------------------------------------------------------

const cv::Size kRegion(300, 200), kTemplate(64, 32);

void MeasureDecision(const std::string& name, const Shown& shown, DecidingStep expected) {
  if (EvaluateRegion(shown.unit, shown.spec).decidedBy != expected) {
    throw std::logic_error("evaluate/" + name + " is decided by another step");
  }
  Measure("evaluate/" + name, [shown](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(EvaluateRegion(shown.unit, shown.spec));
  });
}

// An acceptable region, with limits moved until one step refuses it.
void MeasureRefusal(const std::string& name, DecidingStep step, void (*tighten)(Shown&)) {
  Shown shown = Show(kRegion, kTemplate, MatchMode::Gray);
  tighten(shown);
  MeasureDecision("refused-by-" + name, shown, step);
}

void MeasureDecisions() {
  for (const NamedMode& each : kModes) {
    MeasureDecision(std::string("accepted/") + each.name, Show(kRegion, kTemplate, each.mode),
                    DecidingStep::Accepted);
  }
  Shown red = Show(kRegion, kTemplate, MatchMode::Bgr);
  red.spec.redHint = red.spec.colorGate = true;
  red.spec.chromaChannel = 1;
  MeasureDecision("accepted/bgr-red", red, DecidingStep::Accepted);

  MeasureRefusal("search", DecidingStep::Search, [](Shown& s) {
    s.unit.gray = s.unit.gray(cv::Rect(0, 0, kTemplate.width - 1, kTemplate.height));
  });
  MeasureRefusal("difference", DecidingStep::Difference, [](Shown& s) { s.spec.maxDiff = -1.0; });
  MeasureRefusal("min-score", DecidingStep::MinScore, [](Shown& s) { s.spec.minScore = 2.0; });
  MeasureRefusal("flat-white", DecidingStep::FlatWhite, [](Shown& s) {
    s.spec.tmplGray.setTo(250);
    s.spec.maxDiff = 1.0;
  });
  MeasureRefusal("darkness", DecidingStep::Darkness, [](Shown& s) {
    s.spec.vividFlat = true;
    s.spec.hsvMean[2] += 100.0;
  });
  MeasureRefusal("ncc", DecidingStep::GreyCorrelation, [](Shown& s) {
    s.spec.maxDiff = 1.0;
    s.spec.tmplGray = testing::Inverted(s.spec.tmplGray);
  });
  MeasureRefusal("edge-correlation", DecidingStep::EdgeCorrelation, [](Shown& s) { s.spec.edgeMin = 2.0; });
  MeasureRefusal("edge-density", DecidingStep::EdgeDensity, [](Shown& s) { s.spec.edgeDensity += 0.5; });
  MeasureRefusal("chroma", DecidingStep::Chroma, [](Shown& s) {
    s.spec.chromaChannel = 1;
    s.spec.chromaMin = 2.0;
  });
  MeasureRefusal("colour", DecidingStep::Colour, [](Shown& s) {
    // Leaves the decision to the three colour tests.
    s.spec.redHint = true;
    s.spec.hsvMean[2] += 100.0;
    s.spec.redRatio += 0.5;
    s.spec.labAMean += 50.0;
  });
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  using namespace quillmark::bench;
  MeasureConversions("1920x1080", {1920, 1080});
  MeasureConversions("3840x2160", {3840, 2160});
  MeasureSearches("300x200-64x32", {300, 200}, {64, 32});
  MeasureSearches("1280x720-128x96", {1280, 720}, {128, 96});
  MeasureSearches("400x300-64x64", {400, 300}, {64, 64});
  MeasureLibrary("400x300-64x64", {400, 300}, {64, 64});
  MeasureLibrary("1920x1080-64x64", {1920, 1080}, {64, 64});
  MeasureChanged("400x300-64x64", {400, 300}, {64, 64});
  MeasureChanged("1920x1080-64x64", {1920, 1080}, {64, 64});
  MeasureDecisions();
  return RunAll(argc, argv);
}
