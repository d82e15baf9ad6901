#include "client/CommandRing.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <thread>

namespace quillmark::client {
namespace {

using Clock = std::chrono::steady_clock;

constexpr wchar_t WriterRole[] = L"Local\\QuillmarkctlCommands";
constexpr auto PollInterval = std::chrono::milliseconds(5);

template <std::size_t Units>
void FillField(std::uint16_t (&field)[Units], const std::wstring& text) {
  if (text.size() > Units) throw std::length_error("a text is longer than its field");
  std::transform(text.begin(), text.end(), field,
                 [](wchar_t unit) { return static_cast<std::uint16_t>(unit); });
}

CmdSlot SlotFor(const Command& command) {
  CmdSlot slot{};
  slot.kind = static_cast<std::uint32_t>(command.kind);
  FillField(slot.target, command.target);
  FillField(slot.name, command.name);
  FillField(slot.path, command.path);
  slot.roiX = command.roiX;
  slot.roiY = command.roiY;
  slot.roiW = command.roiW;
  slot.roiH = command.roiH;
  slot.edgeMin = command.edgeMin;
  slot.threshold = command.threshold;
  return slot;
}

}  // namespace

CommandRing::CommandRing()
    : ring(CmdRingSectionName, CmdRingEventName, sizeof(CmdRingLayout)),
      layout(*static_cast<CmdRingLayout*>(ring.View())) {}

std::uint32_t CommandRing::ReadIndex() const {
  // Pairs with the worker's store after it has read the slots.
  return SharedWord(layout.header.readIndex).load(std::memory_order_acquire);
}

std::uint32_t CommandRing::Unread() const {
  return SharedWord(layout.header.writeIndex).load(std::memory_order_relaxed) - ReadIndex();
}

bool CommandRing::Publish(const Command& command, Deadline deadline) {
  const Role writer(WriterRole, deadline);
  if (!writer.Held()) return false;
  SharedWord writeIndex(layout.header.writeIndex);
  const std::uint32_t index = writeIndex.load(std::memory_order_relaxed);
  while (index - ReadIndex() >= RingSlots) {
    if (Clock::now() >= deadline) return false;
    std::this_thread::sleep_for(PollInterval);
  }
  layout.slots[SlotOf(index)] = SlotFor(command);
  FullFence();
  published = index + 1;
  // Pairs with the worker's load before it reads the slot.
  writeIndex.store(published, std::memory_order_release);
  ring.Signal();
  return true;
}

bool CommandRing::AwaitTaken(Deadline deadline) const {
  // Later commands of other clients may have been taken too.
  while (static_cast<std::int32_t>(ReadIndex() - published) < 0) {
    if (Clock::now() >= deadline) return false;
    std::this_thread::sleep_for(PollInterval);
  }
  return true;
}

}  // namespace quillmark::client
