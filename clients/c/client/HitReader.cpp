#include "client/HitReader.h"

namespace quillmark::client {

HitReader::HitReader()
    : ring(HitRingSectionName, HitRingEventName, sizeof(HitRingLayout)),
      layout(*static_cast<HitRingLayout*>(ring.View())) {}

std::uint32_t HitReader::WriteIndex() const {
  // Pairs with the worker's store after it has filled the slot.
  return SharedWord(layout.header.writeIndex).load(std::memory_order_acquire);
}

std::uint32_t HitReader::ReadIndex() const {
  return SharedWord(layout.header.readIndex).load(std::memory_order_acquire);
}

std::uint32_t HitReader::Dropped() const {
  return SharedWord(layout.header.droppedCount).load(std::memory_order_relaxed);
}

std::optional<Hit> HitReader::Peek(std::uint32_t index) const {
  const HitSlot slot = layout.slots[SlotOf(index)];
  FullFence();
  // The worker reuses the slot once the record is consumed and 64 newer ones are written.
  const bool consumed = static_cast<std::int32_t>(ReadIndex() - index) > 0;
  if (consumed && WriteIndex() - index >= RingSlots) return std::nullopt;

  Hit hit;
  hit.tsMs = slot.tsMs;
  hit.cx = slot.cx;
  hit.cy = slot.cy;
  hit.w = slot.w;
  hit.h = slot.h;
  hit.sq = slot.sq;
  hit.edge = slot.edge;
  hit.name = TextOf(slot.name);
  return hit;
}

void HitReader::ConsumeUpTo(std::uint32_t index) {
  // Pairs with the worker's load before it fills a slot anew.
  SharedWord(layout.header.readIndex).store(index, std::memory_order_release);
}

}  // namespace quillmark::client
