// Plays a recording through the worker's engine under a virtual clock. The same recording gives the same
// result, bit for bit.
//
// The clock follows the capture thread on an infinitely fast machine: a tick begins every 20 ms, reads the
// windows and gives each watched monitor a turn, in the recording's order. A turn takes the newest unseen
// frame, or waits up to 33 ms for the next; a tick that took longer than 20 ms is followed by the next at
// once. Jobs never pile up, so the tick never slows down, and the hit ring is never full.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ipc/HitRecord.h"
#include "reasons/Reasons.h"
#include "replay/Recording.h"

namespace quillmark::replay {

struct ReplayedHit {
  std::size_t frame = 0;  // into Recording::frames
  std::int64_t tMs = 0;   // when the frame was taken
  HitRecord hit;
};

// The rejected comparison that got furthest; among equals, the one with the smallest difference.
struct NearestMiss {
  std::size_t frame = 0;
  std::int64_t tMs = 0;
  reasons::Reason reason = reasons::Reason::Difference;
  double difference = 1.0, limit = 0.0;  // of the primary search
};

struct SpecResult {
  std::wstring name;  // without suffix and options
  std::uint64_t hits = 0;
  std::map<reasons::Reason, std::uint64_t> silences;  // turns that ended with each reason
  std::optional<NearestMiss> nearestMiss;

  // Why there was no hit: the last reason in the order of the list. Turns without a frame, or in which the
  // spec was not due, count only if there were no others.
  [[nodiscard]] std::optional<reasons::Reason> Silence() const;
};

struct ReplayResult {
  std::vector<ReplayedHit> hits;    // in the order of their reports
  std::vector<SpecResult> specs;    // as in the recording
  std::vector<std::string> faults;  // unusable frames: the file and the error
  std::size_t framesTaken = 0;      // the others were never needed
};

// Calls `progress` with the milliseconds played so far. An unusable frame is a fault and counts as a failed
// capture. Raises FormatError for two specs of one name.
[[nodiscard]] ReplayResult Replay(const Recording& recording, const std::filesystem::path& folder,
                                  const std::function<void(std::int64_t tMs)>& progress = {});

}  // namespace quillmark::replay
