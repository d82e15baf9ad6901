// The tool's commands. Each opens what it needs, does its work within its time and returns the process's
// exit code; a ring that cannot be opened raises std::runtime_error.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "CommandRing.h"

namespace quillmark::control {

// The process's exit codes.
enum ExitCode : int { Done = 0, NothingInTime = 1, WrongUse = 2 };

// Sends one command and waits until the worker has taken it.
[[nodiscard]] ExitCode Send(const Command& command, std::chrono::milliseconds timeout);

// Sends a heartbeat or version command and prints the worker's reply. Takes no hit out of the ring, unless
// the ring is full and nobody reads it: then the reply would find no place.
[[nodiscard]] ExitCode Ask(const Command& command, std::chrono::milliseconds timeout, bool json);

struct WatchOptions {
  std::uint32_t count = 0;                           // hits to print before it ends, 0 for no limit
  std::optional<std::chrono::milliseconds> timeout;  // none: until interrupted
  bool json = false;
};
// Takes the hits out of the ring and prints them; SIGINT and SIGTERM end it in order.
[[nodiscard]] ExitCode Watch(const WatchOptions& options);

}  // namespace quillmark::control
