// The controller's side of the command ring: fills a slot, publishes it, signals the worker, and sees by
// the shared read index when the worker has taken it. Never more than 64 commands wait unread.
//
// Threading: one thread. One client writes at a time, which a role ensures.
#pragma once

#include <cstdint>

#include "client/Command.h"
#include "client/SharedRing.h"

namespace quillmark::client {

class CommandRing {
 public:
  // Raises std::runtime_error when the ring cannot be opened.
  CommandRing();

  // Publishes the command behind those that wait. False when other clients kept writing, or no slot became
  // free, until the deadline; then nothing was published.
  [[nodiscard]] bool Publish(const Command& command, Deadline deadline);
  // Whether the worker has taken the last published command before the deadline.
  [[nodiscard]] bool AwaitTaken(Deadline deadline) const;
  // Commands that the worker has not taken yet, of every client.
  [[nodiscard]] std::uint32_t Unread() const;

 private:
  [[nodiscard]] std::uint32_t ReadIndex() const;

  SharedRing ring;
  CmdRingLayout& layout;
  std::uint32_t published = 0;  // the write index after the last published command
};

}  // namespace quillmark::client
