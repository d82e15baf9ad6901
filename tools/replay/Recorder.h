// Writes what is on the desktop, in the worker's rhythm, as a recording: everything for some time, or only
// the frames around the first hit or near miss, which the recorder finds with the worker's engine itself.
//
// Threading: one thread; the pictures are written by another one.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "core/RegionEvaluation.h"
#include "replay/Recording.h"

namespace quillmark::replay {

enum class Trigger : std::int32_t {
  None,      // everything is kept
  Hit,       // frames around the first hit of any spec
  NearMiss,  // frames around the first refused comparison that IsNearMiss
};

// Refused though the place differed little: within its limit, or beyond it by at most half of it.
[[nodiscard]] bool IsNearMiss(const Verdict& verdict);

struct RecorderOptions {
  std::filesystem::path folder;     // new or empty
  std::int64_t mostMs = 10'000;     // its end, or until when the trigger is waited for
  std::vector<RecordedSpec> specs;  // paths as this process sees them; the images are copied into the folder
  Trigger trigger = Trigger::None;
  std::size_t framesBefore = 10, framesAfter = 10;
};

struct RecorderResult {
  std::size_t frames = 0;  // written
  std::int64_t tMs = 0;    // how long it looked
  bool triggered = false;
  std::vector<std::string> notes;  // what happened beside
};

// Ends early when `goOn`, which hears the milliseconds so far, says no. Raises std::runtime_error when a
// spec's image cannot be used, no monitor can be captured or the folder cannot be written; FormatError for
// two specs of one name. A trigger that did not come leaves no recording.
[[nodiscard]] RecorderResult Record(const RecorderOptions& options,
                                    const std::function<bool(std::int64_t tMs)>& goOn);

}  // namespace quillmark::replay
