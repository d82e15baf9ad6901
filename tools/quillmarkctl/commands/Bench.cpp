#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "app/frame/ThreadPool.h"
#include "bench/Benchmark.h"
#include "commandline/CommandLine.h"
#include "commandline/PartialSpec.h"
#include "core/engine/Tick.h"
#include "explain/Reports.h"
#include "text/Places.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

using bench::Measured;
using bench::Spread;

constexpr char BenchNotes[] =
    "Give a spec as for add (only --path is required) or a spec file as for apply. Without --image, each "
    "spec is measured on a picture with its template in the middle of its region. No worker is needed, and "
    "a running one is left alone. docs/bench.md describes the output and its fields.\n"
    "Exit codes: 0 the specs fit into a tick of 20 ms on one core, 1 they do not, 2 usage error or failure.";

struct BenchOptions {
  SpecArguments spec;
  std::string image;
  double scale = 1.0, seconds = 0.5;
};

double RoundedToNanoseconds(double micros) {
  return std::round(micros * 1000.0) / 1000.0;
}

Json StepsJson(const std::vector<Spread>& spreads) {
  Json steps = Json::array();
  for (const Spread& each : spreads) {
    steps.push_back({{"step", each.step},
                     {"median", RoundedToNanoseconds(each.median)},
                     {"p90", RoundedToNanoseconds(each.p90)}});
  }
  return steps;
}

std::string TimeText(double micros) {
  char text[32];
  const bool large = micros >= 1000.0;
  std::snprintf(text, sizeof text, large ? "%.2f ms" : "%.1f us", large ? micros / 1000.0 : micros);
  return text;
}

std::string Row(const std::string& what, const std::string& median, const std::string& p90) {
  char text[96];
  std::snprintf(text, sizeof text, "  %-18s%12s%12s", what.c_str(), median.c_str(), p90.c_str());
  return text;
}

std::string Rows(const std::vector<Spread>& spreads) {
  std::string text;
  for (const Spread& each : spreads) text += '\n' + Row(each.step, TimeText(each.median), TimeText(each.p90));
  return text;
}

void Print(const Measured& m, Output& output) {
  const cv::Mat& tmpl = m.spec.tmplGray;
  const cv::Rect region = ToCv(m.place.visible);
  const std::string reason(m.reason ? reasons::CodeOf(*m.reason) : "");
  const std::string end = !m.Compared()    ? "not compared: " + reason
                          : reason.empty() ? "hit"
                                           : "rejected: " + reason;
  output.Print(
      {{"type", "spec"},
       {"name", m.name},
       {"template", {{"w", tmpl.cols}, {"h", tmpl.rows}}},
       {"region", explain::RectJson(region)},
       {"reason", reason.empty() ? Json(nullptr) : Json(reason)},
       {"steps", StepsJson(m.steps)}},
      m.name + ": " + SizeText(tmpl.size()) + " in " + SizeText(region.size()) + ", " + end + Rows(m.steps));
}

// Prints the totals; true when everything together fits into a tick.
bool Summarise(const std::vector<Measured>& specs, Output& output) {
  const double tick = static_cast<double>(Tick::IntervalMs(0)) * 1000.0;
  const std::size_t threads = ThreadPool::SizeFor(std::thread::hardware_concurrency());
  Spread all{"whole"};
  const Measured* costliest = nullptr;
  for (const Measured& m : specs) {
    if (!m.Compared()) continue;
    const Spread& whole = m.steps.back();
    all.median += whole.median;
    all.p90 += whole.p90;
    if (costliest == nullptr || whole.median > costliest->steps.back().median) costliest = &m;
  }
  char share[96];
  std::snprintf(share, sizeof share, "%.1f %% of a %.0f ms tick on one core, %.1f %% at the p90",
                100.0 * all.median / tick, tick / 1000.0, 100.0 * all.p90 / tick);
  Json json = {{"type", "summary"},
               {"specs", specs.size()},
               {"median", RoundedToNanoseconds(all.median)},
               {"p90", RoundedToNanoseconds(all.p90)},
               {"share", all.median / tick},
               {"threads", threads},
               {"costliest", nullptr}};
  std::string text = Counted(specs.size(), "spec") + Rows({all}) + "\n" + share + "; the worker would use " +
                     Counted(threads, "thread") + " here.";
  if (costliest != nullptr) {
    const auto less = [](const Spread& a, const Spread& b) { return a.median < b.median; };
    const Spread& step = *std::max_element(costliest->steps.begin() + 1, costliest->steps.end() - 1, less);
    json["costliest"] = {
        {"spec", costliest->name}, {"step", step.step}, {"median", RoundedToNanoseconds(step.median)}};
    text += "\nMost expensive: " + costliest->name + ", mainly in " + step.step + ".";
  }
  output.Print(json, text);
  return all.median <= tick;
}

ExitCode RunBench(const BenchOptions& options, Output& output) {
  std::vector<advice::LintSpec> given;
  if (options.spec.file.empty()) {
    given.push_back(ReadPartialSpec(options.spec));
  } else {
    for (const Command& command : SpecCommands(options.spec))
      given.push_back({.request = RequestOf(command)});
  }
  const cv::Mat screenshot = options.image.empty() ? cv::Mat() : ReadScreenshot("--image", options.image);
  std::vector<Measured> specs = bench::PrepareToMeasure(given, screenshot, options.scale);
  const double seconds = bench::MeasuringSeconds(specs, options.seconds);
  const auto start = Clock::now();
  const cv::Size screen = bench::MeasureSpecs(specs, screenshot, options.seconds, [&] {
    output.Bar().Show(std::chrono::duration<double>(Clock::now() - start).count(), seconds);
  });
  output.Print({{"type", "frame"}, {"w", screen.width}, {"h", screen.height}},
               output.Styled(Style::Quiet, Row("", "median", "p90")) + "\nframe: " + SizeText(screen));
  for (const Measured& m : specs) Print(m, output);
  return Summarise(specs, output) ? Yes : No;
}

}  // namespace

void AddBench(CommandLine& line) {
  const auto [command, options] =
      line.Add<BenchOptions>("bench", "Measures how long specs take to evaluate on this machine.", RunBench);
  AddPartialSpecOptions(command, options.spec);
  command.Add("--image", &options.image, "Screenshot of the window's client area to search",
              {.value = "FILE"});
  command.Add("--scale", &options.scale, "Screenshot pixels per template pixel (1)",
              {.value = "N", .within = {{0.25, 8.0}}, .needs = {"--image"}});
  command.Add("--seconds", &options.seconds, "Time to spend on each spec (0.5)",
              {.value = "SECONDS", .within = {{0.01, 600.0}}});
  command.notes = BenchNotes;
}

}  // namespace quillmark::control
