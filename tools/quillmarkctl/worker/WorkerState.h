// The worker as seen from outside: whether it is running and replies, its version and process, and the state
// of both rings.
//
// Threading: one thread; blocks for as long as the worker takes to answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "output/Output.h"
#include "reasons/Reasons.h"

namespace quillmark::control {

// What commands print when the worker starts or ends.
inline constexpr char NoWorkerYet[] = "no worker is running yet";
inline constexpr char WorkerStarted[] = "a worker has started; it knows no specs";
inline constexpr char WorkerGone[] = "the worker has ended";

struct WorkerState {
  bool running = false;
  bool answers = false;
  std::string silence;  // why there was no reply
  double roundTripMs = 0.0;
  std::string version;
  std::uint64_t identity = 0;   // differs from worker to worker
  std::uint32_t process = 0;    // 0 if unknown
  std::uint64_t startedMs = 0;  // UTC milliseconds since 1970-01-01, 0 if unknown
  std::uint32_t unreadCommands = 0, unreadHits = 0;
  std::uint32_t droppedHits = 0;         // since the ring was created, possibly before this worker started
  bool hasReader = false;                // a tool or client takes the hits out of the ring
  std::vector<reasons::Reason> reasons;  // why hits, or the specs themselves, do not arrive
};

// Sends a heartbeat and a version command, unless the hit ring is full and nobody reads it: there would be no
// room for the reply. Consumes no hits.
[[nodiscard]] WorkerState LookAtWorker(std::chrono::milliseconds timeout, Output& output);
// The same without commands.
[[nodiscard]] WorkerState GlanceAtWorker();

[[nodiscard]] Json JsonOf(const WorkerState& state);

}  // namespace quillmark::control
