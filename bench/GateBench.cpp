// Runs ticks of the engine for callgrind: 16 specs of 200x100 with templates of 40x20 on a scripted desktop,
// on which one pixel changes before each tick. bench/gate.sh counts the instructions of all threads from
// Begin to End, between which four ticks run. Prints what the image library sees of the processor, then the
// name of each case once it has run. The first is a rehearsal: whichever case is counted first in a process,
// the counter adds some 217,000 instructions to its calls of other libraries.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <opencv2/core/utility.hpp>
#include <stdexcept>
#include <string>
#include <thread>

#include "StillDesktop.h"
#include "support/EngineProbe.h"
#include "support/Eventually.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::bench {

constexpr int kTicks = 4, kWarmUp = 2;
// Longer than the window in which a hit counts as a repetition: every tick queues every hit. Otherwise the
// number of hits, and so of instructions, would depend on how long a tick takes.
constexpr auto kPause = std::chrono::milliseconds(170);

enum class Change { Outside, Inside };

struct Case {
  cv::Size screen;
  Specs16 specs;
  Change change;

  [[nodiscard]] std::string Name() const {
    return std::string(screen.width == 1920 ? "1080p" : "4K") +
           (specs == Specs16::Gray ? "-grey" : "-mixed") +
           (change == Change::Outside ? "-outside" : "-inside");
  }
  // Where the pixel changes before a tick. The regions of four specs take turns: in mixed cases they have
  // the modes other than grey.
  [[nodiscard]] cv::Point ChangeAt(int tick) const {
    if (change == Change::Outside) return cv::Point(screen) - cv::Point(1, 1);
    return RegionAt(1 + tick % kTicks, screen) + cv::Point(5, 5);
  }
};

void RunTicks(EngineProbe& probe, StillDesktop& desktop, const Case& which, int count) {
  for (int tick = 0; tick < count; ++tick) {
    std::this_thread::sleep_for(kPause);
    desktop.Blink(which.ChangeAt(tick));
    for (const auto& job : probe.Tick()) probe.RunJob(*job);
  }
}

// Symbols that callgrind can find: neither inlined nor merged nor removed.
__attribute__((noipa)) void Begin() {
  std::fflush(stdout);
}
__attribute__((noipa)) void End() {
  std::fflush(stderr);
}

void Run(const Case& which, const std::string& name, test::RawController& controller) {
  const cv::Mat picture = FillStore(which.screen, which.specs, {{200, 100}, {40, 20}});
  const auto desktop = std::make_shared<StillDesktop>(picture);
  layer::SetDesktop(desktop);
  AutoRebinder engine;
  EngineProbe probe(engine);
  probe.StartPool();
  RunTicks(probe, *desktop, which, kWarmUp);
  Begin();
  RunTicks(probe, *desktop, which, kTicks);
  End();

  // The ticks did their work if each of them reported every template on the screen.
  constexpr int expected = (kWarmUp + kTicks) * kSpecs / 2;
  int hits = 0;
  probe.Sender().Start();
  const bool reported = test::Eventually([&] {
    for (const test::RawHit& hit : controller.TakeHits())
      hits += ShowsItsTemplate(NumberOf(hit.name)) ? 1 : 0;
    return hits >= expected;
  });
  if (!reported || hits != expected) {
    throw std::runtime_error(name + ": " + std::to_string(hits) + " hits of the templates shown, " +
                             std::to_string(expected) + " expected");
  }
  std::puts(name.c_str());
}

void RunAll() {
  cv::setUseOptimized(true);
  cv::setNumThreads(1);
  std::printf("processor %s\n", cv::getCPUFeaturesLine().c_str());
  const test::PrivateSession session;
  test::RawController controller;
  Run({{1920, 1080}, Specs16::Gray, Change::Outside}, "rehearsal", controller);
  for (const cv::Size screen : {cv::Size(1920, 1080), cv::Size(3840, 2160)}) {
    for (const Specs16 specs : {Specs16::Gray, Specs16::Mixed}) {
      for (const Change change : {Change::Outside, Change::Inside}) {
        const Case which{screen, specs, change};
        Run(which, which.Name(), controller);
      }
    }
  }
  layer::SetDesktop(nullptr);
}

}  // namespace quillmark::bench

int main() {
  try {
    quillmark::bench::RunAll();
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_gate: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
