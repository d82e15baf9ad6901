#include "ipc/RingSender.h"

#include <windows.h>

#include <utility>

#include "ipc/HitRing.h"

namespace quillmark {

namespace {

constexpr std::size_t BatchReserve = 32;

constexpr std::uint32_t ReportEveryNthDrop = 100;
std::atomic<std::uint32_t> suppressedHits{0};  // of all senders

}  // namespace

RingSender::~RingSender() {
  Stop();
}

void RingSender::Start() {
  stopRequested.store(false, std::memory_order_relaxed);
  thread = std::thread([this] { Run(); });
}

void RingSender::Stop() {
  {
    const std::lock_guard lock(mutex);  // or the thread could miss it between its test and its wait
    stopRequested.store(true, std::memory_order_relaxed);
  }
  wakeup.notify_all();
  if (thread.joinable()) thread.join();
  const std::lock_guard lock(mutex);
  pending.clear();
}

void RingSender::Enqueue(HitRecord hit) {
  {
    const std::lock_guard lock(mutex);
    if (duplicates.Admit(hit) != Repetition::None) {
      if (suppressedHits.fetch_add(1, std::memory_order_relaxed) % ReportEveryNthDrop == 0) {
        ::OutputDebugStringW(L"[RingSender] dedupe drop\n");
      }
      return;
    }
    pending.push_back(std::move(hit));
  }
  wakeup.notify_one();
}

void RingSender::Run() {
  std::vector<HitRecord> batch;
  batch.reserve(BatchReserve);
  while (!stopRequested.load(std::memory_order_relaxed)) {
    {
      std::unique_lock lock(mutex);
      const auto stopping = [this] { return stopRequested.load(std::memory_order_relaxed); };
      wakeup.wait(lock, [&] { return stopping() || !pending.empty(); });
      if (stopping() && pending.empty()) return;
      pending.swap(batch);
    }
    for (const HitRecord& hit : batch) {
      WriteHit(hit.name, hit.cx, hit.cy, hit.w, hit.h, hit.sq, hit.edge, hit.tsMs);
    }
    batch.clear();
  }
}

}  // namespace quillmark
