// The two rings in shared memory: the controller writes the command ring and the worker reads it; the hit
// ring works the other way round. Each has a 16-byte header and 64 slots. Indices count records and wrap
// modulo 2^32; record n is in slot n & 63. Every offset, width and encoding is agreed with other programs
// (docs/protocol.md): little-endian integers, UTF-16LE texts, IEEE 754 single-precision floats.
//
// Threading: header words are accessed through SharedWord only, as the other process changes them at any
// time. Its data is copied once, then checked.
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

namespace quillmark {

static_assert(std::endian::native == std::endian::little);
static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4);

constexpr wchar_t CmdRingSectionName[] = L"Local\\CmdRingMMF";
constexpr wchar_t CmdRingEventName[] = L"Local\\CmdRingEvent";
constexpr wchar_t HitRingSectionName[] = L"Local\\HitRingMMF";
constexpr wchar_t HitRingEventName[] = L"Local\\HitRingEvent";

constexpr std::uint32_t RingSlots = 64;

constexpr std::uint32_t SlotOf(std::uint32_t record) {
  return record & (RingSlots - 1);
}

enum class CmdKind : std::uint32_t { Spec = 1, Remove = 2, Clear = 3, Heartbeat = 4, Version = 5 };

struct CmdRingHeader {
  std::uint32_t writeIndex;  // written by the controller
  std::uint32_t readIndex;   // written by the worker
  std::uint32_t reserved[2];
};

struct CmdSlot {
  std::uint32_t kind;
  std::uint32_t reserved0;
  // A text ends at its first NUL unit, or at the end of its field.
  std::uint16_t target[16];
  std::uint16_t name[32];
  std::uint16_t path[64];
  std::int32_t roiX, roiY, roiW, roiH;
  float edgeMin;
  float threshold;
  std::uint8_t reserved1[64];
};

struct CmdRingLayout {
  CmdRingHeader header;
  CmdSlot slots[RingSlots];
};

struct HitRingHeader {
  std::uint32_t writeIndex;    // written by the worker
  std::uint32_t readIndex;     // written by the controller
  std::uint32_t droppedCount;  // written by the worker
  std::uint32_t reserved;
};

struct HitSlot {
  std::uint64_t tsMs;
  std::int32_t cx, cy, w, h;
  std::uint8_t reserved0[8];
  float sq;
  float edge;
  std::uint16_t name[32];  // at most 31 units, then NUL units to the end
  std::uint8_t reserved1[24];
};

struct HitRingLayout {
  HitRingHeader header;
  HitSlot slots[RingSlots];
};

static_assert(sizeof(CmdRingHeader) == 16);
static_assert(offsetof(CmdRingHeader, readIndex) == 4);
static_assert(sizeof(CmdSlot) == 320);
static_assert(offsetof(CmdSlot, target) == 8);
static_assert(offsetof(CmdSlot, name) == 40);
static_assert(offsetof(CmdSlot, path) == 104);
static_assert(offsetof(CmdSlot, roiX) == 232);
static_assert(offsetof(CmdSlot, roiY) == 236);
static_assert(offsetof(CmdSlot, roiW) == 240);
static_assert(offsetof(CmdSlot, roiH) == 244);
static_assert(offsetof(CmdSlot, edgeMin) == 248);
static_assert(offsetof(CmdSlot, threshold) == 252);
static_assert(offsetof(CmdSlot, reserved1) == 256);
static_assert(offsetof(CmdRingLayout, slots) == 16);
static_assert(sizeof(CmdRingLayout) == 0x5010);
static_assert(std::is_trivially_copyable_v<CmdRingLayout>);

static_assert(sizeof(HitRingHeader) == 16);
static_assert(offsetof(HitRingHeader, readIndex) == 4);
static_assert(offsetof(HitRingHeader, droppedCount) == 8);
static_assert(sizeof(HitSlot) == 128);
static_assert(offsetof(HitSlot, cx) == 8);
static_assert(offsetof(HitSlot, cy) == 12);
static_assert(offsetof(HitSlot, w) == 16);
static_assert(offsetof(HitSlot, h) == 20);
static_assert(offsetof(HitSlot, sq) == 32);
static_assert(offsetof(HitSlot, edge) == 36);
static_assert(offsetof(HitSlot, name) == 40);
static_assert(offsetof(HitSlot, reserved1) == 104);
static_assert(offsetof(HitRingLayout, slots) == 16);
static_assert(sizeof(HitRingLayout) == 0x2010);
static_assert(std::is_trivially_copyable_v<HitRingLayout>);

// A header word that two processes share.
using SharedWord = std::atomic_ref<std::uint32_t>;
static_assert(SharedWord::is_always_lock_free);

inline void FullFence() {
  std::atomic_thread_fence(std::memory_order_seq_cst);
}

// A copy of the other process's slot. Reads each word exactly once, so what is checked is what is used.
inline CmdSlot CopySlot(CmdSlot& shared) {
  static_assert(alignof(CmdSlot) == alignof(std::uint32_t));
  std::uint32_t words[sizeof(CmdSlot) / sizeof(std::uint32_t)];
  auto* source = reinterpret_cast<std::uint32_t*>(&shared);
  for (std::uint32_t& word : words) word = SharedWord(*source++).load(std::memory_order_relaxed);
  CmdSlot copy;
  std::memcpy(&copy, words, sizeof copy);
  return copy;
}

// The text of a field, up to its first NUL unit or the field's end.
template <std::size_t Units>
std::wstring TextOf(const std::uint16_t (&field)[Units]) {
  std::wstring text;
  for (std::size_t i = 0; i < Units && field[i] != 0; ++i) text.push_back(static_cast<wchar_t>(field[i]));
  return text;
}

}  // namespace quillmark
