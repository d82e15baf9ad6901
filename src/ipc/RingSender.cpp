#include "ipc/RingSender.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "ipc/HitRing.h"

namespace quillmark {

namespace {

constexpr auto WakeInterval = std::chrono::milliseconds(5);
constexpr std::size_t BatchReserve = 32;

constexpr double ToleranceShare = 0.1;  // of the hit's longer side
constexpr int LeastTolerance = 3, LargestTolerance = 12;
constexpr std::uint64_t DefaultWindowMs = 150, FastWindowMs = 30;
constexpr float ScoreMargin = 0.02f;
constexpr std::uint64_t ScoreWindowMs = 300;

constexpr std::uint32_t ReportEveryNthDrop = 100;
std::atomic<std::uint32_t> suppressedHits{0};  // of all senders

std::int64_t ToleranceOf(const HitRecord& hit) {
  const int share = static_cast<int>(static_cast<double>(std::max(hit.w, hit.h)) * ToleranceShare);
  return std::max(std::min(share, LargestTolerance), LeastTolerance);
}

std::uint64_t WindowOf(const HitRecord& hit) {
  if (hit.dedupWindowMs != 0) return hit.dedupWindowMs;
  return hit.name == L"T1" ? FastWindowMs : DefaultWindowMs;
}

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
    const std::lock_guard lock(mutex);  // so that the thread cannot miss it between its test and its wait
    stopRequested.store(true, std::memory_order_relaxed);
  }
  wakeup.notify_all();
  if (thread.joinable()) thread.join();
  const std::lock_guard lock(mutex);
  pending.clear();
}

bool RingSender::Repeats(const HitRecord& hit, const LastSent& last) {
  // A clock that stepped back counts as no time passed.
  const std::uint64_t elapsedMs = hit.tsMs < last.tsMs ? 0 : hit.tsMs - last.tsMs;
  const std::int64_t dx = std::int64_t{hit.cx} - last.cx;
  const std::int64_t dy = std::int64_t{hit.cy} - last.cy;
  const std::int64_t tolerance = ToleranceOf(hit);
  if (std::abs(dx) <= tolerance && std::abs(dy) <= tolerance && elapsedMs < WindowOf(hit)) return true;
  // A clearly weaker hit soon after a strong one, wherever it lies.
  return last.sq >= hit.sq + ScoreMargin && elapsedMs < ScoreWindowMs;
}

void RingSender::Enqueue(HitRecord hit) {
  {
    const std::lock_guard lock(mutex);
    const auto [entry, isNew] = lastSent.try_emplace(hit.name);
    if (!isNew && Repeats(hit, entry->second)) {
      if (suppressedHits.fetch_add(1, std::memory_order_relaxed) % ReportEveryNthDrop == 0) {
        ::OutputDebugStringW(L"[RingSender] dedupe drop\n");
      }
    } else {
      entry->second = {hit.cx, hit.cy, hit.tsMs, hit.w, hit.h, hit.sq};
      pending.push_back(std::move(hit));
    }
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
      wakeup.wait_for(lock, WakeInterval, [&] { return stopping() || !pending.empty(); });
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
