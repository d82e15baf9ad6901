// Records the desktop with the worker's timing: everything for some time, or only the frames around the first
// hit or near miss, which it finds with the worker's engine.
//
// Threading: one thread; another one writes the frames.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "replay/Recording.h"

namespace quillmark::replay {

enum class Trigger : std::int32_t {
  None,      // everything is kept
  Hit,       // frames around the first hit of any spec
  NearMiss,  // frames around the first comparison rejected at a small difference
};

struct RecorderOptions {
  std::filesystem::path folder;     // new or empty
  std::int64_t mostMs = 10'000;     // recording time, or how long to wait for the trigger
  std::vector<RecordedSpec> specs;  // the images are copied into the folder
  Trigger trigger = Trigger::None;
  std::size_t framesBefore = 10, framesAfter = 10;
};

struct RecorderResult {
  std::size_t frames = 0;  // written
  std::int64_t tMs = 0;    // recording time
  bool triggered = false;
  std::vector<std::string> notes;  // faults, and why it ended early
};

// Ends early when `goOn`, called with the milliseconds so far, returns false. Leaves no recording if the
// trigger never came. Raises std::runtime_error when a spec's image cannot be used, no monitor can be
// captured or the folder cannot be written; FormatError for two specs of one name.
[[nodiscard]] RecorderResult Record(const RecorderOptions& options,
                                    const std::function<bool(std::int64_t tMs)>& goOn);

}  // namespace quillmark::replay
