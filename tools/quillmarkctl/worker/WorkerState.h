// What can be known of the worker from outside: whether it runs and answers, its version and process, and the
// state of both rings.
//
// Threading: one thread; blocks for as long as the worker takes to answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/Output.h"
#include "reasons/Reasons.h"

namespace quillmark::control {

struct WorkerState {
  bool running = false;
  bool answers = false;
  std::string silence;  // why it was not asked, or does not answer
  double roundTripMs = 0.0;
  std::string version;
  std::uint64_t identity = 0;  // another one for another worker
  // Of its process; 0 when it cannot be known. The start in UTC milliseconds since 1970-01-01.
  std::uint32_t process = 0;
  std::uint64_t startedMs = 0;
  // Of both rings. Dropped hits since the ring was made, which may be before this worker.
  std::uint32_t unreadCommands = 0, unreadHits = 0, droppedHits = 0;
  bool hasReader = false;                // a tool or client takes the hits out of the ring
  std::vector<explain::Reason> reasons;  // why hits, or the specs themselves, do not arrive
};

// Asks one heartbeat and one version, but not when the hit ring is full and nobody reads it: then the reply
// would find no place. No hit is taken out of the ring.
[[nodiscard]] WorkerState LookAtWorker(std::chrono::milliseconds timeout, Output& output);
// The same without a question.
[[nodiscard]] WorkerState GlanceAtWorker();

[[nodiscard]] Json JsonOf(const WorkerState& state);

}  // namespace quillmark::control
