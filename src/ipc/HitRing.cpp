#include "ipc/HitRing.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "ipc/SharedObjects.h"
#include "ipc/WireFormat.h"
#include "log/AsyncLogger.h"

namespace quillmark {

namespace {

constexpr std::uint32_t LogEveryNthCall = 200;
constexpr std::uint32_t LogEveryNthRefusal = 20;

void LogIndices(const char* when, std::uint32_t w, std::uint32_t r) {
  LogLine(when, w, " r=", r, " depth=", w - r);
}

void StoreName(HitSlot& slot, const std::wstring& name) {
  const std::size_t kept = std::min(name.size(), std::size(slot.name) - 1);
  const auto end = std::transform(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(kept), slot.name,
                                  [](wchar_t unit) { return static_cast<std::uint16_t>(unit); });
  std::fill(end, std::end(slot.name), std::uint16_t{0});
}

}  // namespace

HitRing& HitRing::Instance() {
  static HitRing& instance = *new HitRing;
  return instance;
}

bool HitRing::EnsureInit() {
  // Both acquire loads pair with the release store below, which publishes the view and the event.
  if (ready.load(std::memory_order_acquire)) return true;
  std::call_once(initOnce, [this] { ready.store(Init(), std::memory_order_release); });
  return ready.load(std::memory_order_acquire);
}

bool HitRing::Init() {
  LogLine("Init begin (size=", sizeof(HitRingLayout), ")");
  SharedSection section = OpenSharedSection(HitRingSectionName, sizeof(HitRingLayout));
  mapping = std::move(section.mapping);
  view = std::move(section.view);
  if (section.failedCall != nullptr) {
    LogLine(section.failedCall, " failed, err=", section.error);
    return false;
  }
  SharedEvent signal = OpenSharedEvent(HitRingEventName);
  if (!signal.event) {
    LogLine("CreateEventW failed, err=", signal.error);
    return false;
  }
  event = std::move(signal.event);
  LogLine("Init success (ring=", view.Get(), ", hEvt=", event.Get(), ")");
  return true;
}

void HitRing::Write(const std::wstring& name, std::int32_t cx, std::int32_t cy, std::int32_t w,
                    std::int32_t h, float sq, float edge, std::uint64_t tsMs) {
  if (!EnsureInit()) {
    if (!initWarned.exchange(true, std::memory_order_relaxed)) {
      LogLine("WARN: EnsureInit failed (ring=nullptr)");
    }
    return;
  }
  auto* const ring = static_cast<HitRingLayout*>(view.Get());
  if (ring == nullptr) {
    if (!nullViewWarned.exchange(true, std::memory_order_relaxed)) {
      LogLine("WARN: ring==nullptr after EnsureInit");
    }
    return;
  }

  const SharedWord writeIndex(ring->header.writeIndex);
  const SharedWord readIndex(ring->header.readIndex);
  const std::lock_guard lock(mutex);
  const std::uint32_t written = writeIndex.load(std::memory_order_relaxed);
  // Pairs with the controller's store of readIndex: it has read the slots before that.
  const std::uint32_t read = readIndex.load(std::memory_order_acquire);
  const bool sampled = writeCalls.fetch_add(1, std::memory_order_relaxed) % LogEveryNthCall == 0;
  if (sampled) LogIndices("hdr w=", written, read);

  if (written - read < RingSlots) {
    HitSlot& slot = ring->slots[SlotOf(written)];
    slot.tsMs = tsMs;
    slot.cx = cx;
    slot.cy = cy;
    slot.w = w;
    slot.h = h;
    slot.sq = sq;
    slot.edge = edge;
    StoreName(slot, name);
    FullFence();
    // Publishes the record; pairs with the controller's load of writeIndex before it reads the slot.
    writeIndex.store(written + 1, std::memory_order_release);
    ::SetEvent(event.Get());
    if (sampled) {
      LogIndices("after w=", writeIndex.load(std::memory_order_relaxed),
                 readIndex.load(std::memory_order_relaxed));
    }
    return;
  }

  const SharedWord droppedCount(ring->header.droppedCount);
  const std::uint32_t dropped = droppedCount.load(std::memory_order_relaxed) + 1;
  droppedCount.store(dropped, std::memory_order_relaxed);
  LogLine("FULL(before) w=", written, " r=", read, " dropped=", dropped);
  if (dropped % LogEveryNthRefusal == 1) {
    LogLine("DROP name=", name, " cx=", cx, " cy=", cy, " w=", w, " h=", h, " sq=", sq, " edge=", edge);
  }
}

void WriteHit(const std::wstring& name, std::int32_t cx, std::int32_t cy, std::int32_t w, std::int32_t h,
              float sq, float edge, std::uint64_t tsMs) {
  HitRing::Instance().Write(name, cx, cy, w, h, sq, edge, tsMs);
}

}  // namespace quillmark
