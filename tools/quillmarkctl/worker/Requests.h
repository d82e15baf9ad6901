// One command for the worker, with what comes back, within a time. A ring that cannot be opened raises
// std::runtime_error.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "client/CommandRing.h"
#include "client/HitReader.h"
#include "output/Output.h"

namespace quillmark::control {

using client::Command;
using client::CommandRing;
using client::Deadline;
using client::Hit;
using client::HitConsumer;
using client::HitReader;

// Sends a command that adds a spec, removes one or all, and waits until the worker has taken it.
[[nodiscard]] ExitCode Send(const Command& command, std::chrono::milliseconds timeout, Output& output);

struct Answer {
  std::optional<Hit> reply;
  std::string failure;                                    // why there is no reply
  std::chrono::duration<double, std::milli> roundTrip{};  // from the command's publication to the reply
};
// Sends a heartbeat or version command and waits for the worker's reply. Takes no hit out of the ring, unless
// the ring is full and nobody reads it: then the reply would find no place, and a note tells of it.
[[nodiscard]] Answer Ask(const Command& command, std::chrono::milliseconds timeout, Output& output);

// The text of a reply that answers `command`; nothing for other records.
[[nodiscard]] std::optional<std::wstring> AnswerIn(const Hit& hit, const Command& command);

}  // namespace quillmark::control
