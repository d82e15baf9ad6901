// Sends one command to the worker and waits for the outcome. Raises std::runtime_error when a ring cannot be
// opened.
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
using client::HitConsumer;
using client::HitReader;
using client::Record;

// Sends a command that has no reply and waits until the worker has taken it. `name` is its name
// on the command line.
[[nodiscard]] ExitCode Send(const char* name, const Command& command, std::chrono::milliseconds timeout,
                            Output& output);

struct Answer {
  std::optional<Record> reply;
  std::string failure;                                    // why there is no reply
  std::chrono::duration<double, std::milli> roundTrip{};  // from the command's publication to the reply
};
// Sends a heartbeat or version command and waits for the reply. Consumes no hits, unless the ring is full and
// nobody reads it, so that there is room for the reply; then it prints a note.
[[nodiscard]] Answer Ask(const Command& command, std::chrono::milliseconds timeout, Output& output);

// The text of a reply that answers `command`; empty for other records.
[[nodiscard]] std::optional<std::string> AnswerIn(const Record& record, const Command& command);

}  // namespace quillmark::control
