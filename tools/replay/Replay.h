// Plays a recording through the worker's engine under a virtual clock. The same recording gives the same
// result, bit for bit.
//
// The clock goes as the capture thread's does on a machine that computes in no time: a tick begins every
// 20 ms, reads the windows as they are then, and gives each watched monitor its turn in the recording's
// order. A turn takes the newest picture that has not been seen yet, or waits up to 33 ms for the next one; a
// tick that waited longer than its 20 ms is followed by the next one at once. Jobs never pile up, so the tick
// never slows down, and the hit ring is always read, so it is never full.
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

// The refused comparison that came furthest, of equals the one with the least difference.
struct NearestMiss {
  std::size_t frame = 0;
  std::int64_t tMs = 0;
  explain::Reason reason = explain::Reason::Difference;
  double difference = 1.0, limit = 0.0;  // of the primary search
};

struct SpecResult {
  std::wstring name;  // without suffix and options
  std::uint64_t hits = 0;
  std::map<explain::Reason, std::uint64_t> silences;  // how often each was the reason of a turn
  std::optional<NearestMiss> nearestMiss;

  // Why there was no hit at all: the reason that came furthest on the way to one. A turn without a frame, or
  // in which the spec was not due, counts only where there was no other.
  [[nodiscard]] std::optional<explain::Reason> Silence() const;
};

struct ReplayResult {
  std::vector<ReplayedHit> hits;    // in the order in which they would have been reported
  std::vector<SpecResult> specs;    // as in the recording
  std::vector<std::string> faults;  // of frames: file and what is wrong with it
  std::size_t framesTaken = 0;      // of all in the recording; the others were never asked for
};

// `progress` hears how many of the recording's milliseconds have been played. A frame that cannot be used is
// a fault and counts as a failed capture. Raises FormatError for two specs of one name.
[[nodiscard]] ReplayResult Replay(const Recording& recording, const std::filesystem::path& folder,
                                  const std::function<void(std::int64_t tMs)>& progress = {});

}  // namespace quillmark::replay
