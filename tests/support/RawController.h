// The controller's end of both rings, written from docs/protocol.md with platform calls and byte offsets,
// without the product's headers.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/UniqueHandle.h"

namespace quillmark::test {

// Header words of both rings.
inline constexpr std::size_t WriteIndex = 0, ReadIndex = 4, DroppedCount = 8;

// A command record. Texts are cut to 16, 32 and 64 units.
struct RawCommand {
  std::uint32_t kind = 0;
  std::wstring target{}, name{}, path{};
  std::int32_t x = 0, y = 0, width = 0, height = 0;
  float edgeMin = 0.0f, threshold = 0.0f;
  bool operator==(const RawCommand&) const = default;
};

struct RawHit {
  std::uint64_t tsMs = 0;
  std::int32_t cx = 0, cy = 0, w = 0, h = 0;
  float sq = 0.0f, edge = 0.0f;
  std::wstring name;
};

class RawController {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::size_t CommandBytes = 20496, HitBytes = 8208;

  // Opens or creates both sections and both events. Raises std::runtime_error when a call fails.
  RawController();

  // Fills the next slot, publishes it and signals. Refused (false) while 64 commands are unread.
  bool Send(const RawCommand& command);
  bool SendSpec(const std::wstring& target, const std::wstring& name, const std::wstring& path,
                std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height, float edgeMin,
                float threshold) {
    return Send({1, target, name, path, x, y, width, height, edgeMin, threshold});
  }
  bool SendRemove(const std::wstring& name) { return Send({.kind = 2, .name = name}); }
  bool SendClear() { return Send({.kind = 3}); }
  bool SendHeartbeat(const std::wstring& text = {}) { return Send({.kind = 4, .name = text}); }

  // The steps of Send, for tests that skip one.
  void FillCommand(std::uint32_t record, const RawCommand& command);
  void SignalCommands() { ::SetEvent(commandEvent.Get()); }
  [[nodiscard]] std::uint32_t CommandWord(std::size_t offset) const {
    return Word(Commands(), offset).load();
  }
  void SetCommandWord(std::size_t offset, std::uint32_t value) { Word(Commands(), offset).store(value); }
  // Commands published and not yet consumed by the worker.
  [[nodiscard]] std::uint32_t PendingCommands() const {
    return CommandWord(WriteIndex) - CommandWord(ReadIndex);
  }
  [[nodiscard]] std::byte* Commands() const { return static_cast<std::byte*>(commandView.Get()); }

  // Everything published since the last call, oldest first; the worker may then use the slots again.
  std::vector<RawHit> TakeHits();
  // Takes hits until the wanted one comes or the deadline passes; discards the others.
  std::optional<RawHit> WaitForHit(const std::function<bool(const RawHit&)>& wanted,
                                   Clock::time_point deadline = Clock::now() + std::chrono::seconds(60));
  std::optional<RawHit> WaitForHit(const std::wstring& name,
                                   Clock::time_point deadline = Clock::now() + std::chrono::seconds(60));

  [[nodiscard]] RawHit ReadHit(std::uint32_t record) const;
  // Takes the event's signal; false when there was none.
  bool TakeHitSignal() { return ::WaitForSingleObject(hitEvent.Get(), 0) == WAIT_OBJECT_0; }
  [[nodiscard]] std::uint32_t HitWord(std::size_t offset) const { return Word(Hits(), offset).load(); }
  void SetHitWord(std::size_t offset, std::uint32_t value) { Word(Hits(), offset).store(value); }
  [[nodiscard]] std::byte* Hits() const { return static_cast<std::byte*>(hitView.Get()); }

 private:
  static std::atomic_ref<std::uint32_t> Word(std::byte* ring, std::size_t offset) {
    return std::atomic_ref(*reinterpret_cast<std::uint32_t*>(ring + offset));
  }

  UniqueHandle commandMapping, commandEvent, hitMapping, hitEvent;
  UniqueView commandView, hitView;
};

}  // namespace quillmark::test
