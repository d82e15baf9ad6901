// The controller's side of the hit ring. Consuming advances the shared read index; peeking does not, so a
// record can be inspected without taking it from its reader.
//
// Threading: one thread. A role ensures that only one client consumes.
#pragma once

#include <cstdint>
#include <optional>

#include "client/Record.h"
#include "client/SharedRing.h"
#include "ipc/WireFormat.h"

namespace quillmark::client {

// Owned by the client that consumes hits; there is at most one.
class HitConsumer : public Role {
 public:
  explicit HitConsumer(Deadline deadline = {}) : Role(L"Local\\QuillmarkctlHits", deadline) {}
};

class HitReader {
 public:
  // Raises std::runtime_error when the ring cannot be opened.
  HitReader();

  [[nodiscard]] std::uint32_t WriteIndex() const;
  [[nodiscard]] std::uint32_t ReadIndex() const;
  // Hits dropped because the ring was full, since the section was created.
  [[nodiscard]] std::uint32_t Dropped() const;

  // Record `index`, a hit or reply below the write index; empty if it has been overwritten.
  [[nodiscard]] std::optional<Record> Peek(std::uint32_t index) const;
  // Frees the slots of all records before `index`.
  void ConsumeUpTo(std::uint32_t index);
  // Waits until the worker signals a new record, at most `timeoutMs`.
  void Wait(std::uint32_t timeoutMs) const { ring.Wait(timeoutMs); }

 private:
  SharedRing ring;
  HitRingLayout& layout;
};

}  // namespace quillmark::client
