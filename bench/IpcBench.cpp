// Measures the sender's queue and the write of a hit into shared memory.
#include "Measure.h"
#include "ipc/HitRing.h"
#include "ipc/RingSender.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::bench {
namespace {

// One record and its signal, without a waiting controller; the ring never fills up.
void MeasureRingWrite(test::RawController& controller) {
  Measure("ring/write", [&controller](benchmark::State& state) {
    for (auto _ : state) {
      WriteHit(L"a spec of a usual length", 100, 200, 64, 32, 0.98f, 0.9f, 1'700'000'000'000);
      controller.SetHitWord(test::ReadIndex, controller.HitWord(test::WriteIndex));
    }
  });
}

HitRecord HitAt(std::int32_t x) {
  HitRecord hit;
  hit.name = L"a spec of a usual length";
  hit.cx = x;
  hit.cy = 200;
  hit.w = 64;
  hit.h = 32;
  hit.sq = 0.98f;
  hit.tsMs = 1'700'000'000'000;
  return hit;
}

// Without the sender's thread, so that its share is not counted; the queue is emptied with the clock stopped.
void MeasureEnqueue() {
  Measure("enqueue/accepted", [](benchmark::State& state) {
    RingSender sender;
    std::int32_t hits = 0;
    for (auto _ : state) {
      sender.Enqueue(HitAt(hits % 10 * 100));
      if (++hits % 4096 == 0) {
        state.PauseTiming();
        sender.Stop();
        state.ResumeTiming();
      }
    }
  });
  Measure("enqueue/repeated", [](benchmark::State& state) {
    RingSender sender;
    for (auto _ : state) sender.Enqueue(HitAt(100));
  });
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  using namespace quillmark;
  const test::PrivateSession session;
  test::RawController controller;
  bench::MeasureRingWrite(controller);
  bench::MeasureEnqueue();
  return bench::RunAll(argc, argv);
}
