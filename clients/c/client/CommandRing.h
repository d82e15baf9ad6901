// The controller's side of the command ring: publishes commands and learns from the shared read index when
// the worker has taken them. At most 64 are unread.
//
// Threading: one thread. A role ensures that only one client writes at a time.
#pragma once

#include <cstdint>

#include "client/Command.h"
#include "client/SharedRing.h"

namespace quillmark::client {

class CommandRing {
 public:
  // Raises std::runtime_error when the ring cannot be opened.
  CommandRing();

  // Publishes a command. False, with nothing published, when other clients kept writing or no slot became
  // free until the deadline.
  [[nodiscard]] bool Publish(const Command& command, Deadline deadline);
  // Whether the worker takes the last published command before the deadline.
  [[nodiscard]] bool AwaitTaken(Deadline deadline) const;
  // Commands of all clients that the worker has not taken yet.
  [[nodiscard]] std::uint32_t Unread() const;

 private:
  [[nodiscard]] std::uint32_t ReadIndex() const;

  SharedRing ring;
  CmdRingLayout& layout;
  std::uint32_t published = 0;  // the write index after the last published command
};

}  // namespace quillmark::client
