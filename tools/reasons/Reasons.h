// The closed list of reasons why the worker reports nothing for a spec: every road that ends without a hit
// has exactly one, with a code that stays as it is from version to version. docs/silence.md is the list for
// readers.
//
// Threading: constant data.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quillmark::explain {

// In the order in which the worker comes to them.
enum class Reason : std::int32_t {
  // The command
  CommandNotRead,
  CommandOverrun,
  NotInStore,
  // The template's file
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
  // The way to the controller
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
  std::string_view remedy;   // what to do, one or two sentences
  std::string_view namedBy;  // the commands of the control tool that can name it, or none
};

// The whole list, in the order of the enumeration.
[[nodiscard]] std::span<const ReasonEntry> AllReasons();
[[nodiscard]] const ReasonEntry& EntryOf(Reason reason);
[[nodiscard]] inline std::string_view CodeOf(Reason reason) {
  return EntryOf(reason).code;
}
[[nodiscard]] std::optional<Reason> ReasonOfCode(std::string_view code);
// As the headings of docs/silence.md have it.
[[nodiscard]] std::string_view TitleOf(Stage stage);

}  // namespace quillmark::explain
