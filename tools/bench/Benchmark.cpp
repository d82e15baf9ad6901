#include "bench/Benchmark.h"

#include <algorithm>
#include <chrono>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>

#include "advice/Distribution.h"
#include "advice/Probe.h"
#include "core/RegionEvaluation.h"
#include "explain/Explain.h"
#include "explain/Steps.h"
#include "specs/TemplatePreparation.h"

namespace quillmark::bench {
namespace {

using Clock = std::chrono::steady_clock;

// Seconds to measure the frame and each preparation, per second for a decision.
constexpr double PrepareShare = 0.2;

// Times the steps of rounds, each with the same steps.
class Stopwatch {
 public:
  void Begin() {
    at = 0;
    begin = last = Clock::now();
  }
  void Done(const char* step) { Note(step, std::exchange(last, Clock::now())); }
  void End() { Note("whole", begin); }

  [[nodiscard]] std::vector<Spread> Spreads() {
    std::vector<Spread> spreads;
    for (auto& [step, times] : steps) {
      std::ranges::sort(times);
      spreads.push_back({step, advice::Quantile(times, 0.5), advice::Quantile(times, 0.9)});
    }
    return spreads;
  }

 private:
  void Note(const char* step, Clock::time_point since) {
    const double micros = std::chrono::duration<double, std::micro>(last - since).count();
    if (at == steps.size()) steps.emplace_back(step, std::vector<double>());
    steps[at++].second.push_back(micros);
  }

  std::vector<std::pair<std::string, std::vector<double>>> steps;
  std::size_t at = 0;
  Clock::time_point begin, last;
};

// Runs one round to warm up, then rounds for the given time, at least five.
template <typename Round>
std::vector<Spread> Measure(double seconds, const std::function<void()>& tick, const Round& round) {
  constexpr int MinRounds = 5;
  Stopwatch warmUp, watch;
  round(warmUp);
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  for (int rounds = 0; rounds < MinRounds || Clock::now() < end; ++rounds) {
    watch.Begin();
    round(watch);
    tick();
  }
  return watch.Spreads();
}

const char* NameOf(DecidingStep step) {
  constexpr std::pair<DecidingStep, const char*> names[] = {
      {DecidingStep::Search, "search"},         {DecidingStep::FlatWhite, "flat-white"},
      {DecidingStep::Chroma, "chroma"},         {DecidingStep::GreyCorrelation, "grey-correlation"},
      {DecidingStep::EdgeCorrelation, "edges"}, {DecidingStep::Darkness, "darkness"},
      {DecidingStep::Colour, "colour"}};
  for (const auto& [known, name] : names) {
    if (known == step) return name;
  }
  return "position";
}

// A plain screen with room for all regions, and the template in the middle of this one.
cv::Mat PictureFor(const Measured& m, const std::vector<Measured>& all) {
  cv::Size size(1920, 1080);
  for (const Measured& each : all) {
    size = {std::max(size.width, each.place.visible.right), std::max(size.height, each.place.visible.bottom)};
  }
  cv::Mat picture(size, CV_8UC4, cv::mean(m.spec.tmplBgr)), tmpl;
  const Rect& region = m.place.visible;
  if (!m.place.HoldsTemplate()) return picture;
  cv::cvtColor(m.spec.tmplBgr, tmpl, cv::COLOR_BGR2BGRA);
  tmpl.copyTo(picture(cv::Rect((region.left + region.right - tmpl.cols) / 2,
                               (region.top + region.bottom - tmpl.rows) / 2, tmpl.cols, tmpl.rows)));
  return picture;
}

void MeasureSpec(Measured& m, const cv::Mat& picture, double seconds, const std::function<void()>& tick) {
  m.steps = Measure(seconds * PrepareShare, tick, [&](Stopwatch& watch) {
    TemplateSpec fresh;
    fresh.path = m.spec.path;
    if (!PrepareTemplate(fresh)) throw std::runtime_error(m.name + ": its image can no longer be read");
    watch.Done("prepare");
  });
  if (!m.place.HoldsTemplate()) {
    m.reason = m.place.OffFrame() ? reasons::Reason::RegionOutsideTarget : reasons::Reason::RegionTooSmall;
    return;
  }
  const std::vector<Spread> steps = Measure(seconds, tick, [&](Stopwatch& watch) {
    const ROIUnit unit = CutRegion(m.spec, PlaceRegion(m.spec, m.spec.targetRect), picture, {});
    watch.Done("cut");
    const Verdict verdict = EvaluateRegion(unit, m.spec, Thoroughness::UpToTheFirstVeto,
                                           [&](DecidingStep step) { watch.Done(NameOf(step)); });
    watch.End();
    m.reason = explain::ReasonOf(verdict.decidedBy);
  });
  m.steps.insert(m.steps.end(), steps.begin(), steps.end());
}

}  // namespace

std::vector<Measured> PrepareToMeasure(const std::vector<advice::LintSpec>& given, const cv::Mat& screenshot,
                                       double scale) {
  std::vector<Measured> specs;
  for (const advice::LintSpec& each : given) {
    explain::Explanation prepared = explain::PrepareExplanation(each.request);
    if (prepared.reason) throw std::runtime_error(advice::LabelOf(each) + ": " + prepared.sentence);
    const cv::Size screen = screenshot.empty() ? cv::Size(7680, 4320) : screenshot.size();
    TemplateSpec spec = advice::BoundTo(screen, std::move(prepared.spec), scale, each.hasRegion);
    if (screenshot.empty() && !each.hasRegion) spec.roi = cv::Rect(0, 0, 1920, 1080);
    specs.push_back({advice::LabelOf(each), std::move(spec)});
    specs.back().place = PlaceRegion(specs.back().spec, specs.back().spec.targetRect);
  }
  return specs;
}

double MeasuringSeconds(const std::vector<Measured>& specs, double seconds) {
  return seconds * (1.0 + PrepareShare) * static_cast<double>(specs.size());
}

cv::Size MeasureSpecs(std::vector<Measured>& specs, const cv::Mat& screenshot, double seconds,
                      const std::function<void()>& tick) {
  cv::Size screen;
  for (Measured& m : specs) {
    const cv::Mat picture = screenshot.empty() ? PictureFor(m, specs) : screenshot;
    screen = picture.size();
    MeasureSpec(m, picture, seconds, tick);
  }
  return screen;
}

}  // namespace quillmark::bench
