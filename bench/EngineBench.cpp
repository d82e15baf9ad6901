// Measures a tick of the engine with 16 specs on a scripted desktop that names a change outside all regions:
// find the targets, take the frame, look at the regions, and report the remembered verdicts.
#include "Measure.h"
#include "StillDesktop.h"
#include "support/EngineProbe.h"
#include "support/PrivateSession.h"

namespace quillmark::bench {
namespace {

const SpecSizes kSizes{{300, 200}, {64, 32}};

// The sender does not run: what it accepts, a few hits a second, stays in its queue.
void MeasureTick(const std::string& name, cv::Size screen, Specs16 kind) {
  for (const bool matches : {true, false}) {
    const auto tick = [=](benchmark::State& state) {
      layer::SetDesktop(std::make_shared<StillDesktop>(FillStore(screen, kind, kSizes)));
      AutoRebinder engine;
      EngineProbe probe(engine);
      probe.StartPool();
      for (auto _ : state) {
        std::size_t regions = 0;
        for (const auto& job : probe.Tick()) {
          regions += job->units.size();
          if (matches) probe.RunJob(*job);
        }
        if (regions != kSpecs) state.SkipWithError("not every region was cut");
      }
    };
    Measure((matches ? "tick/whole/" : "tick/capture-and-cut/") + name, tick, Counts::Process);
  }
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  using namespace quillmark;
  const test::PrivateSession session;
  bench::MeasureTick("1920x1080/16-gray", {1920, 1080}, bench::Specs16::Gray);
  bench::MeasureTick("1920x1080/16-mixed", {1920, 1080}, bench::Specs16::Mixed);
  bench::MeasureTick("3840x2160/16-gray", {3840, 2160}, bench::Specs16::Gray);
  bench::MeasureTick("3840x2160/16-mixed", {3840, 2160}, bench::Specs16::Mixed);
  const int code = bench::RunAll(argc, argv);
  layer::SetDesktop(nullptr);
  return code;
}
