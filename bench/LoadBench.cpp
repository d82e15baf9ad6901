// Shows whether the worker keeps up under loads that are too heavy for it: new pictures all over the screen,
// many times a second, on which one template moves. The place of each hit tells when it was painted. Prints
// a line for each load; hits may be as old as `limit` at the 99th percentile.
//
//   bench_load all|LOAD [SECONDS [WORKER]]
//
// The limit is 250 ms and two evaluations of a frame from the capture on. An age is measured from the
// painting until the controller has the hit, so the time that a painting is shown is added. A frame's
// evaluation is taken as the mean time between two hits, which it is when the worker has no rest.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Stage.h"

namespace quillmark::bench {
namespace {

using Clock = std::chrono::steady_clock;

struct Load {
  const char* name;
  cv::Size screen;
  cv::Size region;  // of each spec, side by side; as large as the screen: all specs look at the whole screen
  int specs;
  const wchar_t* mode;
  double paintingsPerSecond;
  double mostMib;
};

constexpr int kMoveBy = 8;
constexpr int kPictures = 8;
constexpr wchar_t kMoving[] = L"moving";

class Scene {
 public:
  Scene(const Load& shown, const std::string& worker)
      : load(shown), stage(load.screen, {cv::Point(), load.screen}), sprite(stage.MakeSprite({24, 24})) {
    for (int i = 0; i < kPictures; ++i) {
      pictures.push_back(stage.painter.Load(testing::Screen(stage.random, load.screen)));
    }
    stage.StartWorker(worker);
    for (int i = 0; i < load.specs; ++i) AddSpec(i);
    stage.Settle();
  }

  void Measure(int seconds) {
    Paint(std::chrono::seconds(2));
    ages.clear();
    const auto start = Clock::now();
    Paint(std::chrono::seconds(seconds));
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    const ProcessFacts facts = stage.WorkerFacts();
    if (ages.empty()) throw std::runtime_error(std::string(load.name) + ": no hits");
    const double frameMs = 1000.0 * elapsed / static_cast<double>(ages.size());
    const double hitsPerMinute = 60.0 * static_cast<double>(ages.size()) / elapsed;
    std::sort(ages.begin(), ages.end());
    const auto share = [&](double part) {
      return ages[static_cast<std::size_t>(part * static_cast<double>(ages.size() - 1))];
    };
    std::printf(
        "%-18s %6.0f hits a minute, age %4.0f ms, p99 %4.0f (limit %4.0f), most %4.0f; peak %4.0f MiB (limit "
        "%.0f)",
        load.name, hitsPerMinute, share(0.5), share(0.99),
        250.0 + 2.0 * frameMs + 1000.0 / load.paintingsPerSecond, ages.back(),
        static_cast<double>(facts.peakKb) / 1024.0, load.mostMib);
    std::printf(", silent %.0f ms after the removal\n", SilentAfterRemoval());
    std::fflush(stdout);
  }

 private:
  void AddSpec(int number) {
    const int columns = std::max(1, load.screen.width / load.region.width);
    const cv::Rect region(cv::Point(number % columns * load.region.width % load.screen.width,
                                    number / columns * load.region.height % load.screen.height),
                          load.region);
    const cv::Rect all(cv::Point(), load.screen);
    if (number == 0) {
      movesIn = region & all;
      stage.AddSpec(std::wstring(kMoving) + load.mode + L":ms1", sprite, movesIn);
    } else {
      stage.AddSpec(L"other " + std::to_wstring(number) + load.mode, stage.MakeSprite({48, 48}),
                    region & all);
    }
  }

  cv::Point PlaceOf(long painting) const {
    const int columns = (movesIn.width - sprite.size.width) / kMoveBy;
    const int rows = (movesIn.height - sprite.size.height) / kMoveBy;
    const int place = static_cast<int>(painting % (static_cast<long>(columns) * rows));
    return movesIn.tl() + kMoveBy * cv::Point(place % columns, place / columns);
  }

  void Paint(std::chrono::seconds span) {
    const auto period = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1.0 / load.paintingsPerSecond));
    const auto start = Clock::now();
    for (auto next = start; next < start + span; next = std::max(next + period, Clock::now())) {
      while (Clock::now() < next) {
        TakeHits();
        std::this_thread::sleep_until(std::min(next, Clock::now() + std::chrono::milliseconds(5)));
      }
      ++paintings;
      const cv::Point at = PlaceOf(paintings);
      // At random: in turn, a worker that takes every eighth painting would see one picture all the time.
      const auto picture = static_cast<std::size_t>(stage.random.Between(0, kPictures - 1));
      stage.painter.Draw(stage.Window(), pictures[picture], {cv::Point(), load.screen});
      stage.painter.Draw(stage.Window(), sprite.pixmap, {at, sprite.size});
      painted[{at.x, at.y}] = Clock::now();
      stage.painter.Sync();  // a slow server paints less often, not later
      TakeHits();
    }
  }

  std::size_t TakeHits() {
    std::size_t hits = 0;
    for (const test::RawHit& hit : stage.controller.TakeHits()) {
      if (hit.name != kMoving) continue;
      const cv::Point at(hit.cx - sprite.size.width / 2, hit.cy - sprite.size.height / 2);
      const auto known = painted.find({at.x, at.y});
      if (known == painted.end()) continue;  // something else that looks alike
      ++hits;
      ages.push_back(std::chrono::duration<double, std::milli>(Clock::now() - known->second).count());
    }
    return hits;
  }

  double SilentAfterRemoval() {
    stage.controller.SendRemove(kMoving);
    const auto sent = Clock::now();
    auto last = sent;
    while (Clock::now() < last + std::chrono::seconds(5)) {
      if (TakeHits() > 0) last = Clock::now();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return std::chrono::duration<double, std::milli>(last - sent).count();
  }

  const Load& load;
  Stage stage;
  const Sprite sprite;
  std::vector<std::uint32_t> pictures;
  cv::Rect movesIn;
  long paintings = 0;
  std::map<std::pair<int, int>, Clock::time_point> painted;  // when each place was painted last
  std::vector<double> ages;                                  // milliseconds
};

const cv::Size kFullHd(1920, 1080), k4K(3840, 2160), kRegion(400, 300);
const Load kLoads[] = {
    {"1080p-full", kFullHd, kFullHd, 1, L"", 60, 400},
    {"1080p-16-full", kFullHd, kFullHd, 16, L"", 60, 400},
    {"1080p-16-full-2fps", kFullHd, kFullHd, 16, L"", 2, 400},
    {"1080p-4-full-hs", kFullHd, kFullHd, 4, L":mode=hs", 60, 400},
    {"1080p-16-regions", kFullHd, kRegion, 16, L"", 60, 400},
    {"4K-16-regions", k4K, kRegion, 16, L"", 30, 900},
};

int Main(int argc, char** argv) {
  const std::string wanted = argc > 1 ? argv[1] : "";
  const auto isWanted = [&](const Load& load) { return wanted == "all" || wanted == load.name; };
  if (std::ranges::none_of(kLoads, isWanted)) {
    std::fputs("usage: bench_load all|LOAD [SECONDS [WORKER]]; loads:", stderr);
    for (const Load& load : kLoads) std::fprintf(stderr, " %s", load.name);
    std::fputs("\n", stderr);
    return 2;
  }
  return RunBench(argc - 1, argv + 1, "bench_load " + wanted, "SECONDS", 20,
                  [&](int seconds, const std::string& worker) {
                    for (const Load& load : kLoads) {
                      if (isWanted(load)) Scene(load, worker).Measure(seconds);
                    }
                    return 0;
                  });
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  return quillmark::bench::Main(argc, argv);
}
