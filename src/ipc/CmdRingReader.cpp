#include "ipc/CmdRingReader.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>

#include "ipc/HitRing.h"
#include "ipc/ProductVersion.h"
#include "ipc/SharedObjects.h"
#include "ipc/WallClock.h"
#include "ipc/WireFormat.h"

namespace quillmark {

namespace {

constexpr auto RetryInterval = std::chrono::milliseconds(50);

// Runs a callback, which reports its own errors: a command that fails must not stop the next ones.
template <typename Callback, typename... Values>
void RunGuarded(const Callback& callback, const Values&... values) {
  if (!callback) return;
  try {
    callback(values...);
  } catch (...) {
  }
}

void Reply(const std::wstring& text) {
  WriteHit(text, 0, 0, 0, 0, 1.0f, 0.0f, WallClockMs());
}

std::array<SharedWord, 4> WordsOf(CmdRingHeader& header) {
  return {SharedWord(header.writeIndex), SharedWord(header.readIndex), SharedWord(header.reserved[0]),
          SharedWord(header.reserved[1])};
}

bool HasBeenUsed(CmdRingHeader& header) {
  return std::ranges::any_of(WordsOf(header), [](const SharedWord& word) { return word.load() != 0; });
}

void Wipe(CmdRingHeader& header) {
  for (const SharedWord& word : WordsOf(header)) word.store(0, std::memory_order_relaxed);
  FullFence();
}

}  // namespace

CmdRingReader::~CmdRingReader() {
  Close();
}

bool CmdRingReader::Init(std::uint32_t timeoutMs) {
  if (TryOpen()) return true;
  if (timeoutMs == 0) return false;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(RetryInterval);
    if (TryOpen()) return true;
  }
  return false;
}

bool CmdRingReader::TryOpen() {
  SharedSection section = OpenSharedSection(CmdRingSectionName, sizeof(CmdRingLayout));
  if (section.failedCall != nullptr) return false;
  // Before the event is there: a controller publishes once it holds both, and what it has published by then
  // is not to be wiped.
  CmdRingHeader& header = static_cast<CmdRingLayout*>(section.view.Get())->header;
  const bool used = HasBeenUsed(header);
  SharedEvent signal = OpenSharedEvent(CmdRingEventName);
  if (!signal.event) return false;

  mapping = std::move(section.mapping);
  view = std::move(section.view);
  event = std::move(signal.event);
  if (used && !signal.existed) Wipe(header);
  return true;
}

void CmdRingReader::SetHandlers(OnSpec spec, OnClear clear, OnRemove remove) {
  onSpec = std::move(spec);
  onClear = std::move(clear);
  onRemove = std::move(remove);
}

void CmdRingReader::Poll(std::uint32_t maximumCount) {
  if (!view) return;
  auto& ring = *static_cast<CmdRingLayout*>(view.Get());
  const SharedWord writeIndex(ring.header.writeIndex);
  const SharedWord readIndex(ring.header.readIndex);

  const bool signalled = event && ::WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
  std::uint32_t next = readIndex.load(std::memory_order_relaxed);
  // Pairs with the controller's publishing store: the slots below it are filled.
  const std::uint32_t end = writeIndex.load(std::memory_order_acquire);
  if (!signalled && next == end) return;
  if (end - next > RingSlots) next = end - RingSlots;

  std::uint32_t count = 0;
  while (next != end) {
    FullFence();
    Execute(ring.slots[SlotOf(next)]);
    ++next;
    if (++count == maximumCount) break;
  }

  // Frees the slots. Pairs with the controller's load of readIndex before it fills them again.
  readIndex.store(next, std::memory_order_release);
  FullFence();
}

void CmdRingReader::Execute(CmdSlot& shared) const {
  const CmdSlot slot = CopySlot(shared);
  switch (static_cast<CmdKind>(slot.kind)) {
    case CmdKind::Spec:
      RunGuarded(onSpec, TextOf(slot.target), TextOf(slot.name), TextOf(slot.path), slot.roiX, slot.roiY,
                 slot.roiW, slot.roiH, slot.edgeMin, slot.threshold);
      break;
    case CmdKind::Remove:
      RunGuarded(onRemove, TextOf(slot.name), TextOf(slot.path));
      break;
    case CmdKind::Clear:
      RunGuarded(onClear);
      break;
    case CmdKind::Heartbeat: {
      const std::wstring text = TextOf(slot.name);
      Reply(text.empty() ? L"HB" : text);
      break;
    }
    case CmdKind::Version:
      Reply(L"__ver__:" + GetProductVersionString());
      break;
  }
}

void CmdRingReader::Close() {
  // Only the first Close signals.
  if (!stopRequested.exchange(true, std::memory_order_relaxed) && event) ::SetEvent(event.Get());
  view.Reset();
  event.Reset();
  mapping.Reset();
}

}  // namespace quillmark
