// The closed list of reasons why the worker reports nothing for a spec. Every spec without a hit has exactly
// one. Codes never change. docs/silence.md is the list for users.
//
// Threading: constant data.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quillmark::reasons {

// In the order in which the worker checks.
enum class Reason : std::int32_t {
  // The command
  CommandNotRead,
  CommandOverrun,
  NotInStore,
  // The template file
  ImagePath,
  ImageMissing,
  ImageNotAFile,
  ImageEmpty,
  ImageUnreadable,
  ImageTooLarge,
  ImageFormat,
  ImageTooManyPixels,
  ImageDamaged,
  ImageDepth,
  ImageChannels,
  ImageRefused,
  // The target window
  TargetEmpty,
  WindowNotFound,
  WindowHidden,
  WindowMinimised,
  WindowUnmeasured,
  ClientAreaEmpty,
  NoMonitor,
  // The region
  RegionOutsideTarget,
  RegionOffMonitor,
  RegionTooSmall,
  // The frame
  CaptureFailed,
  CaptureLost,
  NoNewFrame,
  BetweenFrames,
  FrameDivisor,
  Interval,
  // The comparison
  EvaluationFailed,
  InputsMissing,
  NoPlacement,
  Difference,
  MinScore,
  PlacementOutside,
  FlatWhite,
  NoEdges,
  Darkness,
  GreyCorrelation,
  EdgeCorrelation,
  EdgeDensity,
  Chroma,
  Colour,
  // Delivery to the controller
  DuplicateNear,
  DuplicateWeaker,
  WorkerEnded,
  RingUnavailable,
  RingFull,
};

enum class Stage : std::int32_t { Command, Template, Target, Region, Frame, Comparison, Delivery };

struct ReasonEntry {
  Reason reason;
  Stage stage;
  std::string_view code;     // lower case, words joined by '-'
  std::string_view meaning;  // one sentence
  std::string_view remedy;   // one or two sentences
  std::string_view namedBy;  // commands that can report it, or "none"
};

// In the order of the enumeration.
[[nodiscard]] std::span<const ReasonEntry> AllReasons();
[[nodiscard]] const ReasonEntry& EntryOf(Reason reason);
[[nodiscard]] inline std::string_view CodeOf(Reason reason) {
  return EntryOf(reason).code;
}
[[nodiscard]] std::optional<Reason> ReasonOfCode(std::string_view code);
// The heading in docs/silence.md.
[[nodiscard]] std::string_view TitleOf(Stage stage);

}  // namespace quillmark::reasons
