// Measures one case of the table of goals (bench/goals.sh) on a real worker, with a full-screen window on a
// private X server. Prints a line for each figure: its name and value.
//
//   bench_goals CASE [SECONDS [WORKER]]
//
// Processor time is the whole worker's. A frame counts once the worker has evaluated it: the first spec's
// template never changes, and with an interval of 1 ms the worker reports it for every frame it evaluates.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Stage.h"

namespace quillmark::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kFramePeriod = std::chrono::microseconds(16'667);
constexpr wchar_t kCounter[] = L"counter";
const cv::Size kFullHd(1920, 1080), k4K(3840, 2160), kSmall(200, 100), kMedium(400, 300);

void Print(const char* figure, double value) {
  std::printf("%s %.4f\n", figure, value);
}

std::string Text(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

enum class Modes { Gray, Mixed };

class Scene {
 public:
  Scene(cv::Size screen, const std::string& worker) : stage(screen, {cv::Point(), screen}) {
    if (!worker.empty()) stage.StartWorker(worker);
  }

  // A spec whose region shows its template, in the middle; the first one counts the frames.
  void AddSpec(const cv::Rect& region, cv::Size icon, Modes modes = Modes::Gray, bool shown = true) {
    static const wchar_t* const words[] = {L"", L":mode=bgr", L":mode=s", L":mode=h", L":mode=hs"};
    const std::size_t number = regions.size();
    const Sprite sprite = stage.MakeSprite(icon);
    const cv::Point middle = region.tl() + cv::Point(region.size() - icon) / 2;
    if (shown) stage.painter.Draw(stage.Window(), sprite.pixmap, {middle, icon});
    const std::wstring options = modes == Modes::Mixed ? words[number % std::size(words)] : words[0];
    stage.AddSpec(number == 0 ? kCounter : L"spec " + std::to_wstring(number), sprite, region,
                  options + (number == 0 ? L":ms1" : L""));
    regions.push_back(region);
    stage.painter.Flush();
  }
  // 16 regions in rows of four; every second one shows its template.
  void AddSpecs(cv::Size region, cv::Size icon, Modes modes) {
    const cv::Size area = stage.Area().size();
    const cv::Size step(std::min(area.width / 4, (area.width - region.width) / 3),
                        std::min(area.height / 4, (area.height - region.height) / 3));
    for (int i = 0; i < 16; ++i) {
      AddSpec({i % 4 * step.width, i / 4 * step.height, region.width, region.height}, icon, modes,
              i % 2 == 0);
    }
    stage.Settle();
  }

  // Shows another picture of that size here at each frame.
  void Change(cv::Point at, cv::Size size, int frame) {
    auto& pictures = changing[size.area()];
    while (pictures.size() < 5) {  // so that a place painted every 16th frame changes each time
      pictures.push_back(stage.painter.Load(testing::Noise(stage.random, size)));
    }
    stage.painter.Draw(stage.Window(), pictures[static_cast<std::size_t>(frame) % pictures.size()],
                       {at, size});
  }
  void Blink(cv::Point at, int frame) { Change(at, {1, 1}, frame); }
  // One that belongs to no region of the small ones.
  cv::Point LastPixel() const { return stage.Area().br() - cv::Point(1, 1); }

  // Paints 60 frames a second and prints what the worker made of them.
  void Busy(int seconds, const std::function<void(int frame)>& paint) {
    stage.Settle();
    int frame = 0;
    const auto show = [&](std::chrono::milliseconds span) {
      long evaluated = 0;
      const auto start = Clock::now();
      for (auto next = start; next < start + span; next += kFramePeriod) {
        std::this_thread::sleep_until(next);
        paint(++frame);
        stage.painter.Flush();
        for (const test::RawHit& hit : stage.controller.TakeHits()) evaluated += hit.name == kCounter ? 1 : 0;
      }
      return evaluated;
    };
    show(std::chrono::milliseconds(700));  // until every picture has been seen
    const ProcessFacts before = stage.WorkerFacts();
    const auto start = Clock::now();
    const long evaluated = show(std::chrono::seconds(seconds));
    const ProcessFacts after = stage.WorkerFacts();
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    if (evaluated == 0) throw std::runtime_error("the worker reported no frame");
    Print("ms_per_frame", 1000.0 * (after.cpuSeconds - before.cpuSeconds) / static_cast<double>(evaluated));
    Print("frames_per_s", static_cast<double>(evaluated) / elapsed);
    Print("resident_mib", static_cast<double>(after.residentKb) / 1024.0);
    Print("peak_mib", static_cast<double>(after.peakKb) / 1024.0);
  }

  void Idle(int seconds) const {
    std::this_thread::sleep_for(std::chrono::seconds(1));  // until earlier work is done
    const ProcessFacts before = stage.WorkerFacts();
    const auto start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const ProcessFacts after = stage.WorkerFacts();
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    Print("cpu_percent", 100.0 * (after.cpuSeconds - before.cpuSeconds) / elapsed);
    Print("wakeups_per_s", static_cast<double>(after.wakeUps - before.wakeUps) / elapsed);
    Print("resident_mib", static_cast<double>(after.residentKb) / 1024.0);
    Print("threads", static_cast<double>(after.threads));
  }

  Stage stage;

 private:
  std::vector<cv::Rect> regions;
  std::map<int, std::vector<std::uint32_t>> changing;  // pictures by their number of pixels
};

// The time from a change on a still screen until the controller has the hit: a template appears at random
// places, at random times, alone or with a new picture in the whole region. The clock runs from just before
// the drawing is sent to the server until a controller that waits for the ring's event has read the hit.
class Latency {
 public:
  Latency(const std::string& worker, bool wholeRegion)
      : scene(kFullHd, worker), sprite(scene.stage.MakeSprite(icon)), renews(wholeRegion) {
    for (int i = 0; renews && i < 6; ++i) {
      pictures.push_back(scene.stage.painter.Load(testing::Screen(scene.stage.random, region.size())));
    }
    scene.stage.AddSpec(L"icon", sprite, region);
    scene.stage.Settle();
  }

  void Measure(int changes) {
    std::vector<double> times;
    for (int i = 0; i < 5; ++i) (void)Change();
    for (int i = 0; i < changes; ++i) times.push_back(Change());
    std::sort(times.begin(), times.end());
    Print("median_ms", times[times.size() / 2]);
    Print("p90_ms", times[times.size() * 9 / 10]);
    Print("max_ms", times.back());
  }

 private:
  double Change() {
    Stage& on = scene.stage;
    on.painter.Erase(on.Window(), region);
    on.painter.Flush();
    const cv::Point at = NextPlace();
    // At random against the tick, and long enough for the worker to see that the icon is gone.
    std::this_thread::sleep_for(std::chrono::microseconds(on.random.Between(60'000, 140'000)));
    on.controller.TakeHits();

    const cv::Rect shown(region.tl() + at, icon);
    if (renews) {
      const auto next = static_cast<std::size_t>(on.random.Between(0, static_cast<int>(pictures.size()) - 1));
      on.painter.Draw(on.Window(), pictures[next], region);
    }
    on.painter.Draw(on.Window(), sprite.pixmap, shown);
    const cv::Point centre = shown.tl() + cv::Point(icon) / 2;
    const auto start = Clock::now();
    on.painter.Flush();
    const auto hit =
        on.controller.WaitForHit([&](const test::RawHit& h) { return cv::Point(h.cx, h.cy) == centre; },
                                 start + std::chrono::seconds(5));
    const auto end = Clock::now();
    if (!hit) throw std::runtime_error("a change was not reported");
    return std::chrono::duration<double, std::milli>(end - start).count();
  }
  // Far enough from the last place that the hit is not suppressed as a repetition.
  cv::Point NextPlace() {
    cv::Point at;
    do {
      at = {scene.stage.random.Between(0, region.width - icon.width),
            scene.stage.random.Between(0, region.height - icon.height)};
    } while (std::max(std::abs(at.x - lastPlace.x), std::abs(at.y - lastPlace.y)) < 40);
    return lastPlace = at;
  }

  const cv::Size icon{64, 32};
  const cv::Rect region{200, 150, 400, 300};
  Scene scene;
  const Sprite sprite;
  const bool renews;
  std::vector<std::uint32_t> pictures;
  cv::Point lastPlace;
};

using Case = std::function<void(int seconds, const std::string& worker)>;

// 16 specs of 200x100 with templates of 40x20, and one pixel that changes.
Case OnePixel(cv::Size screen, Modes modes, const std::function<cv::Point(const Scene&, int frame)>& where) {
  return [=](int seconds, const std::string& worker) {
    Scene scene(screen, worker);
    scene.AddSpecs(kSmall, {40, 20}, modes);
    scene.Busy(seconds, [&](int frame) { scene.Blink(where(scene, frame), frame); });
  };
}
// One spec with a template of 64x64, and an area that changes.
Case OneSpec(const cv::Rect& region, const cv::Rect& change) {
  return [=](int seconds, const std::string& worker) {
    Scene scene(kFullHd, worker);
    scene.AddSpec(region, {64, 64});
    scene.Busy(seconds, [&](int frame) { scene.Change(change.tl(), change.size(), frame); });
  };
}

const cv::Rect kMediumRegion({200, 150}, kMedium), kWhole({0, 0}, kFullHd);

std::map<std::string, Case> Cases() {
  const auto outside = [](const Scene& scene, int) { return scene.LastPixel(); };
  const auto first = [](const Scene&, int) { return cv::Point(5, 5); };
  const auto inTurn = [](const Scene&, int frame) {
    return cv::Point(frame % 4 * kFullHd.width / 4, frame / 4 % 4 * kFullHd.height / 4) + cv::Point(5, 5);
  };
  std::map<std::string, Case> cases{
      {"outside-1080p-mixed", OnePixel(kFullHd, Modes::Mixed, outside)},
      {"outside-4K-mixed", OnePixel(k4K, Modes::Mixed, outside)},
      {"outside-1080p-grey", OnePixel(kFullHd, Modes::Gray, outside)},
      {"inside-first", OnePixel(kFullHd, Modes::Mixed, first)},
      {"inside-in-turn", OnePixel(kFullHd, Modes::Mixed, inTurn)},
      {"part-of-1080p", OneSpec(kWhole, {300, 500, 100, 18})},
      {"part-of-400x300", OneSpec(kMediumRegion, {220, 170, 100, 18})},
      {"outside-400x300", OneSpec(kMediumRegion, {1900, 1000, 1, 1})},
  };
  cases["paint-1080p"] = [](int seconds, const std::string& worker) {
    Scene scene(kFullHd, worker);
    scene.AddSpec(kWhole, {64, 64});
    scene.Busy(seconds, [&](int frame) {
      scene.Change({frame * 7 % 500, frame * 5 % 800}, {160, 90}, frame);
    });
  };
  cases["paint-16-regions"] = [](int seconds, const std::string& worker) {
    Scene scene(kFullHd, worker);
    scene.AddSpecs(kMedium, {64, 64}, Modes::Gray);
    scene.Busy(seconds, [&](int frame) {
      scene.Change({frame % 4 * 480 + 20, frame / 4 % 4 * 260 + 20}, {120, 80}, frame);
    });
  };
  cases["idle-no-spec"] = [](int seconds, const std::string& worker) {
    Scene(kFullHd, worker).Idle(3 * seconds);
  };
  cases["idle-16-specs"] = [](int seconds, const std::string& worker) {
    Scene scene(kFullHd, worker);
    scene.AddSpecs(kSmall, {40, 20}, Modes::Mixed);
    scene.Idle(3 * seconds);
  };
  for (const bool wholeRegion : {false, true}) {
    cases[wholeRegion ? "hit-new-content" : "hit-small-change"] =
        [=](int seconds, const std::string& worker) { Latency(worker, wholeRegion).Measure(15 * seconds); };
  }
  // The loops that people write instead, on the same picture; they look at it as often as they can.
  cases["python-400x300"] = [](int seconds, const std::string&) {
    Scene scene(kFullHd, "");
    scene.AddSpec(kMediumRegion, {64, 64});
    scene.stage.client.Sync();
    const std::wstring file = scene.stage.LastFile();
    std::vector<std::string> command{"/usr/bin/python3", BENCH_FOLDER "/loops.py",
                                     std::string(file.begin(), file.end())};
    for (const int each : {kMediumRegion.x, kMediumRegion.y, kMedium.width, kMedium.height, seconds}) {
      command.push_back(std::to_string(each));
    }
    const std::filesystem::path folder = scene.stage.session.Base();
    test::ChildProcess loops(command, {.output = folder / "loops.txt", .errors = folder / "errors.txt"});
    const bool done = loops.Wait() == 0;
    std::fputs(Text(folder / "loops.txt").c_str(), stdout);
    std::fputs(Text(folder / "errors.txt").c_str(), stderr);
    if (!done) throw std::runtime_error("the Python loops failed");
  };
  return cases;
}

int Main(int argc, char** argv) {
  const auto cases = Cases();
  const auto wanted = argc > 1 ? cases.find(argv[1]) : cases.end();
  if (wanted == cases.end()) {
    std::fputs("usage: bench_goals CASE [SECONDS [WORKER]]; cases:", stderr);
    for (const auto& each : cases) std::fprintf(stderr, " %s", each.first.c_str());
    std::fputs("\n", stderr);
    return 2;
  }
  return RunBench(argc - 1, argv + 1, "bench_goals " + wanted->first, "SECONDS", 2,
                  [&](int seconds, const auto& worker) {
                    wanted->second(seconds, worker);
                    return 0;
                  });
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  return quillmark::bench::Main(argc, argv);
}
