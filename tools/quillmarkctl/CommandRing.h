// The controller's side of the command ring: fills a slot, publishes it, signals the worker, and sees by
// the shared read index when the worker has taken it. Never more than 64 commands wait unread.
//
// Threading: one thread. One tool writes at a time, which a role ensures.
#pragma once

#include <cstdint>
#include <string>

#include "SharedRing.h"
#include "ipc/WireFormat.h"

namespace quillmark::control {

struct Command {
  CmdKind kind = CmdKind::Clear;
  // No longer than their fields: 16, 32 and 64 units.
  std::wstring target{}, name{}, path{};
  std::int32_t roiX = 0, roiY = 0, roiW = 0, roiH = 0;
  float edgeMin = 0.0f, threshold = 0.0f;
};

class CommandRing {
 public:
  // Raises std::runtime_error when the ring cannot be opened.
  CommandRing();

  // Publishes the command behind those that wait. False when other tools kept writing, or no slot became
  // free, until the deadline; then nothing was published.
  [[nodiscard]] bool Publish(const Command& command, Deadline deadline);
  // Whether the worker has taken the last published command before the deadline.
  [[nodiscard]] bool AwaitTaken(Deadline deadline) const;

 private:
  [[nodiscard]] std::uint32_t ReadIndex() const;

  SharedRing ring;
  CmdRingLayout& layout;
  std::uint32_t published = 0;  // the write index after the last published command
};

}  // namespace quillmark::control
