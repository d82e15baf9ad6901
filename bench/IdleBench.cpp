// Measures what an idle worker costs: processor time of the worker and the X server, wake-ups and memory,
// without specs and with 16 specs on a still screen.
//
//   bench_idle [SECONDS [WORKER]]
#include <chrono>
#include <cstdio>
#include <thread>

#include "Stage.h"

namespace quillmark::bench {
namespace {

using Clock = std::chrono::steady_clock;

void Observe(const char* what, Stage& stage, std::chrono::seconds span) {
  std::this_thread::sleep_for(std::chrono::seconds(2));  // until earlier work is done
  const auto start = Clock::now();
  const ProcessFacts before = stage.WorkerFacts();
  const double serverBefore = stage.ServerCpuSeconds();
  std::this_thread::sleep_for(span);
  const ProcessFacts after = stage.WorkerFacts();
  const double server = stage.ServerCpuSeconds() - serverBefore;
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf(
      "%-26s worker %5.2f %% of a core, %6.1f wake-ups a second, X server %5.2f %%; %ld KiB resident, peak "
      "%ld KiB, %ld threads, %ld descriptors\n",
      what, 100.0 * (after.cpuSeconds - before.cpuSeconds) / seconds,
      static_cast<double>(after.wakeUps - before.wakeUps) / seconds, 100.0 * server / seconds,
      after.residentKb, after.peakKb, after.threads, after.descriptors);
  std::fflush(stdout);
}

// 16 regions over the window in rows of four, of which every second shows its template.
void AddSpecs(Stage& stage) {
  constexpr int columns = 4, rows = 4;
  const cv::Size cell(stage.Area().width / columns, stage.Area().height / rows);
  for (int i = 0; i < columns * rows; ++i) {
    const Sprite sprite = stage.MakeSprite({64, 32});
    const cv::Point at(i % columns * cell.width, i / columns * cell.height);
    if (i % 2 == 0) stage.painter.Draw(stage.Window(), sprite.pixmap, {at + cv::Point(50, 50), sprite.size});
    stage.AddSpec(L"spec " + std::to_wstring(i), sprite, {at, cv::Size(300, 200)});
  }
  stage.painter.Flush();
  stage.Settle();
}

int Run(int seconds, const std::string& program) {
  const std::chrono::seconds span(seconds);
  Stage stage;
  stage.StartWorker(program);
  Observe("no spec:", stage, span);
  AddSpecs(stage);
  Observe("16 specs, still screen:", stage, span);
  // Other windows, as on a desktop in use.
  for (int i = 0; i < 20; ++i) stage.client.Show(1400, 20 * i, 200, 150, "other window " + std::to_string(i));
  Observe("the same, 20 more windows:", stage, span);
  return 0;
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  return quillmark::bench::RunBench(argc, argv, "bench_idle", "SECONDS", 30, quillmark::bench::Run);
}
