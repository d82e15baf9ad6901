// A recording: what was on a desktop over some time, and the specs that were looked for, as a folder of
// pictures beside one file, recording.json. docs/replay.md describes the file.
//
// Times are milliseconds from the recording's beginning, rectangles lie in desktop pixels, where the primary
// monitor's top-left corner is (0, 0).
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

// The top-level windows from a time on, the topmost first.
struct RecordedWindows {
  std::int64_t tMs = 0;
  std::vector<RecordedWindow> windows;
};

// A picture of a monitor, in desktop orientation.
struct RecordedFrame {
  std::int64_t tMs = 0;
  std::size_t monitor = 0;  // into Recording::monitors
  std::string file;         // UTF-8, relative to the folder
};

// The values of a spec command.
struct RecordedSpec {
  std::wstring target, name;
  std::string path;  // UTF-8; a relative one starts at the folder
  std::int32_t x = 0, y = 0, width = 0, height = 0;
  float edgeMin = 0.75f;
  float threshold = -1.0f;
};

struct Recording {
  std::uint64_t startMs = 0;              // of time 0, UTC milliseconds since 1970-01-01
  std::vector<RecordedMonitor> monitors;  // in the system's order
  std::vector<RecordedWindows> windows;   // by time
  std::vector<RecordedFrame> frames;      // by time
  std::vector<RecordedSpec> specs;        // in the order in which they were added
};

// What a file of a recording may hold at most.
inline constexpr std::uintmax_t MostFileBytes = std::uintmax_t{64} << 20;
inline constexpr std::int64_t MostMilliseconds = 24 * 3'600'000;
inline constexpr std::size_t MostMonitors = 16, MostWindows = 1024, MostChanges = 100'000,
                             MostFrames = 100'000, MostSpecs = 256;
inline constexpr std::int32_t MostPixelsASide = 16384;  // of a monitor

inline constexpr char RecordingFile[] = "recording.json";

// The text of a file that cannot be used: the file's name, the field's and what is wrong with it.
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads recording.json of the folder. Raises FormatError for a file that is missing, too large or no JSON,
// and for a field that is missing, unknown, of the wrong kind or out of its range. The pictures are not
// looked at.
[[nodiscard]] Recording ReadRecording(const std::filesystem::path& folder);

// The text of recording.json, from which ReadRecording makes the same recording.
[[nodiscard]] std::string TextOf(const Recording& recording);

}  // namespace quillmark::replay
