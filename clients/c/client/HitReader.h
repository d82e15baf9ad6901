// The controller's side of the hit ring. Consuming advances the shared read index; peeking leaves it, so
// that a record can be looked at without taking it from the reader it is meant for.
//
// Threading: one thread. One client consumes at a time, which a role ensures.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "client/SharedRing.h"
#include "ipc/WireFormat.h"

namespace quillmark::client {

// Held by the one client that takes records out of the hit ring.
class HitConsumer : public Role {
 public:
  explicit HitConsumer(Deadline deadline = {}) : Role(L"Local\\QuillmarkctlHits", deadline) {}
};

struct Hit {
  std::uint64_t tsMs = 0;  // UTC milliseconds since 1970-01-01
  std::int32_t cx = 0, cy = 0, w = 0, h = 0;
  float sq = 0.0f, edge = 0.0f;
  std::wstring name;

  // Replies to heartbeat and version have no size; hits have at least one pixel.
  [[nodiscard]] bool IsReply() const { return w == 0 && h == 0; }
};

class HitReader {
 public:
  // Raises std::runtime_error when the ring cannot be opened.
  HitReader();

  [[nodiscard]] std::uint32_t WriteIndex() const;
  [[nodiscard]] std::uint32_t ReadIndex() const;
  // Hits refused because the ring was full, since the section was created.
  [[nodiscard]] std::uint32_t Dropped() const;

  // A copy of record `index`, which lies below the write index; nothing when it has been overwritten.
  [[nodiscard]] std::optional<Hit> Peek(std::uint32_t index) const;
  // Frees the slots of everything before record `index`.
  void ConsumeUpTo(std::uint32_t index);
  // Until the worker signals a new record, or for `timeoutMs`.
  void Wait(std::uint32_t timeoutMs) const { ring.Wait(timeoutMs); }

 private:
  SharedRing ring;
  HitRingLayout& layout;
};

}  // namespace quillmark::client
