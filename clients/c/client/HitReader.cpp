#include "client/HitReader.h"

#include "client/Text.h"

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

std::optional<Record> HitReader::Peek(std::uint32_t index) const {
  const HitSlot slot = layout.slots[SlotOf(index)];
  FullFence();
  // The worker reuses the slot once the record is consumed and 64 newer ones are written.
  const bool consumed = static_cast<std::int32_t>(ReadIndex() - index) > 0;
  if (consumed && WriteIndex() - index >= RingSlots) return std::nullopt;

  // Replies to heartbeat and version have no size; hits have at least one pixel.
  return Record{.kind = slot.w == 0 && slot.h == 0 ? Record::Kind::Reply : Record::Kind::Hit,
                .tsMs = slot.tsMs,
                .cx = slot.cx,
                .cy = slot.cy,
                .w = slot.w,
                .h = slot.h,
                .score = slot.sq,
                .edge = slot.edge,
                .name = ToUtf8(TextOf(slot.name))};
}

void HitReader::ConsumeUpTo(std::uint32_t index) {
  // Pairs with the worker's load before it reuses a slot.
  SharedWord(layout.header.readIndex).store(index, std::memory_order_release);
}

}  // namespace quillmark::client
