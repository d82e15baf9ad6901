// Shows whether a busy worker grows: windows move, pictures come and go, specs are added, replaced and
// removed, and monitors change. Prints memory, threads and descriptors after each busy minute, once the
// worker has processed the frames in its queue. Compare the last line with the first.
//
//   bench_soak [MINUTES [WORKER]]
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Stage.h"

namespace quillmark::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kStep = std::chrono::milliseconds(40);
constexpr auto kLongestRest = std::chrono::minutes(2);
constexpr int kSpecs = 8;
constexpr int kSprites = 24;

// Options of specs, chosen at random.
const wchar_t* const kOptions[] = {L"",       L":mode=bgr", L":mode=s", L":mode=h",     L":mode=hs",
                                   L":ms100", L":fast",     L":strict", L":mon=primary"};

class Soak {
 public:
  explicit Soak(const std::string& program) {
    for (int i = 0; i < kSprites; ++i) {
      sprites.push_back(stage.MakeSprite({stage.random.Between(24, 96), stage.random.Between(16, 64)}));
    }
    bystander = stage.client.Show(900, 700, 300, 200, "another window");
    stage.StartWorker(program);
  }

  // Waits until the worker is idle and returns the seconds. On a slow machine it may never be, so the
  // wait has a limit.
  double Rest() const {
    constexpr double idleShare = 0.1;
    const auto start = Clock::now();
    const auto span = std::chrono::seconds(1);
    double before = stage.WorkerFacts().cpuSeconds;
    while (Clock::now() - start < kLongestRest) {
      std::this_thread::sleep_for(span);
      const double now = stage.WorkerFacts().cpuSeconds;
      if (now - before < idleShare * std::chrono::duration<double>(span).count()) break;
      before = now;
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
  }

  // Changes the screen and, every few steps, everything else.
  void Step(int step) {
    const Sprite& sprite = Any();
    const cv::Point at(stage.random.Between(0, stage.Area().width - sprite.size.width),
                       stage.random.Between(0, stage.Area().height - sprite.size.height));
    stage.painter.Draw(stage.Window(), sprite.pixmap, {at, sprite.size});
    stage.painter.Flush();
    hits += stage.controller.TakeHits().size();
    if (step % 4 == 0) stage.painter.Erase(stage.Window(), {0, 0, stage.Area().width, stage.Area().height});
    if (step % 8 == 0) AddOrReplaceSpec();
    if (step % 20 == 0) stage.controller.SendRemove(NameOf(stage.random.Between(1, kSpecs)));
    if (step % 10 == 0) MoveWindows();
    if (step % 400 == 0) ChangeMonitors();
    if (step % 2400 == 0) stage.controller.SendClear();
  }

  void Print(int minutes) const {
    const ProcessFacts busy = stage.WorkerFacts();
    const double rest = Rest();
    const ProcessFacts facts = stage.WorkerFacts();
    if (facts.residentKb == 0) throw std::runtime_error("the worker has died");
    std::printf(
        "after %3d min: %ld KiB resident busy, %ld KiB after %.0f s of rest, peak %ld KiB, %ld threads, %ld "
        "descriptors, %.0f s of processor time, %llu records received\n",
        minutes, busy.residentKb, facts.residentKb, rest, facts.peakKb, facts.threads, facts.descriptors,
        facts.cpuSeconds, static_cast<unsigned long long>(hits));
    std::fflush(stdout);
  }

 private:
  static std::wstring NameOf(int number) { return L"spec " + std::to_wstring(number); }
  const Sprite& Any() { return sprites[static_cast<std::size_t>(stage.random.Between(0, kSprites - 1))]; }

  void AddOrReplaceSpec() {
    const cv::Rect region(stage.random.Between(0, 900), stage.random.Between(0, 500), 300, 200);
    const int option = stage.random.Between(0, static_cast<int>(std::size(kOptions)) - 1);
    stage.AddSpec(NameOf(stage.random.Between(1, kSpecs)), Any(), region, kOptions[option]);
  }
  void MoveWindows() {
    stage.client.Move(stage.Window(), stage.random.Between(0, 600), stage.random.Between(0, 260));
    stage.client.Move(bystander, stage.random.Between(0, 1500), stage.random.Between(0, 800));
    if (stage.random.OneIn(2)) stage.client.Raise(bystander);
  }
  // One monitor, then two halves, then one again.
  void ChangeMonitors() {
    using Commands = std::vector<std::vector<std::string>>;
    const Commands split{{"xrandr", "--setmonitor", "*LEFT", "960/254x1080/285+0+0", "screen"},
                         {"xrandr", "--setmonitor", "RIGHT", "960/254x1080/285+960+0", "none"}};
    const Commands join{{"xrandr", "--delmonitor", "RIGHT"}, {"xrandr", "--delmonitor", "LEFT"}};
    for (const auto& command : halves ? join : split) {
      if (!test::PrivateDisplay::Run(command)) throw std::runtime_error("xrandr failed");
    }
    halves = !halves;
  }

  Stage stage;
  std::vector<Sprite> sprites;
  std::uint32_t bystander = 0;
  bool halves = false;
  std::uint64_t hits = 0;
};

int Run(int minutes, const std::string& program) {
  Soak soak(program);
  int step = 0;
  for (int minute = 1; minute <= minutes; ++minute) {
    const auto end = Clock::now() + std::chrono::minutes(1);
    while (Clock::now() < end) {
      soak.Step(++step);
      std::this_thread::sleep_for(kStep);
    }
    soak.Print(minute);
  }
  return 0;
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  return quillmark::bench::RunBench(argc, argv, "bench_soak", "MINUTES", 10, quillmark::bench::Run);
}
