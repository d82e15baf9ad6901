// A recording of a desktop: a folder with frames as image files and recording.json, which also has the
// windows and the specs. docs/replay.md describes the file.
//
// Times are milliseconds from the recording's start; rectangles are in desktop pixels, with the primary
// monitor's top-left corner at (0, 0).
//
// Threading: plain values and free functions.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark::replay {

struct RecordedMonitor {
  std::string id;
  Rect rect;

  friend bool operator==(const RecordedMonitor&, const RecordedMonitor&) = default;
};

struct RecordedWindow {
  std::wstring title;
  std::wstring program;  // file name of its image; empty when unknown
  Rect client, outer;
  bool visible = true;
  bool minimised = false;
  double scale = 1.0;  // desktop pixels per logical pixel

  friend bool operator==(const RecordedWindow&, const RecordedWindow&) = default;
};

// The top-level windows from a time on, topmost first.
struct RecordedWindows {
  std::int64_t tMs = 0;
  std::vector<RecordedWindow> windows;
};

// A frame of a monitor, upright.
struct RecordedFrame {
  std::int64_t tMs = 0;
  std::size_t monitor = 0;  // into Recording::monitors
  std::string file;         // UTF-8, relative to the folder
};

// The values of a spec command.
struct RecordedSpec {
  std::wstring target, name;
  std::string path;  // UTF-8, relative to the folder
  cv::Rect roi;
  float edgeMin = 0.75f;
  float threshold = -1.0f;
};

struct Recording {
  std::uint64_t startMs = 0;              // at time 0, UTC milliseconds since 1970-01-01
  std::vector<RecordedMonitor> monitors;  // in the system's order
  std::vector<RecordedWindows> windows;   // by time
  std::vector<RecordedFrame> frames;      // by time
  std::vector<RecordedSpec> specs;        // in the order they were added
};

// Limits of a recording.
inline constexpr std::uintmax_t MaxFileBytes = std::uintmax_t{64} << 20;
inline constexpr std::int64_t MaxMilliseconds = 24 * 3'600'000;
inline constexpr std::size_t MaxMonitors = 16, MaxWindows = 1024, MaxChanges = 100'000, MaxFrames = 100'000,
                             MaxSpecs = 256;
inline constexpr std::int32_t MaxPixelsASide = 16384;  // of a monitor

inline constexpr char RecordingFile[] = "recording.json";

// A file that cannot be used. The text names the file, the field and the error.
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the folder's recording.json, not the frames. Raises FormatError for a file that is missing, too large
// or not JSON, and for a field that is missing, unknown, of the wrong type or out of range.
[[nodiscard]] Recording ReadRecording(const std::filesystem::path& folder);

// The text of a recording.json from which ReadRecording reads the same recording.
[[nodiscard]] std::string TextOf(const Recording& recording);

}  // namespace quillmark::replay
