// The closed list of what lint may find in a spec, with codes that stay as they are from version to version.
// docs/lint.md is the list for readers.
//
// Threading: constant data.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quillmark::advice {

enum class FindingCode : std::int32_t {
  // Texts and options
  EntryAtFault,
  TooLong,
  NameEmpty,
  NameT1,
  TargetEmpty,
  TargetExeCase,
  OptionIgnored,
  OptionOverridden,
  RedInName,
  // The image file
  ImageRefused,
  LossyFile,
  CompressionTraces,
  AlphaUnused,
  // The template
  NeverOnItself,
  BlankWhite,
  Flat,
  LowDetail,
  Tiny,
  MatchesPlain,
  RedWithoutRed,
  // Mode and limits
  DifferenceLoose,
  DifferenceTight,
  ScoreWithoutEffect,
  EdgeMinWithoutEffect,
  StructureWaived,
  HueLoose,
  HueBlind,
  HueOfGrey,
  HueSeam,
  // The region
  RegionOutside,
  RegionTooSmall,
  RegionCut,
  RegionTight,
  // On a picture of the window
  NotOnPicture,
  SecondAccepted,
  SecondClose,
  // Several specs
  SameName,
  MatchesOther,
};

enum class Topic : std::int32_t { Texts, File, Template, Limits, Region, Picture, Several };

enum class Severity : std::int32_t {
  Note,     // right for some purposes, but surprising
  Warning,  // hits where there should be none, or none where there should be some
  Error,    // no hit at all
};

struct FindingEntry {
  FindingCode code;
  Topic topic;
  Severity severity;
  std::string_view id;       // lower case, words joined by '-'
  std::string_view meaning;  // what was found; one sentence each
  std::string_view consequence;
  std::string_view remedy;
};

// The whole list, in the order of the enumeration.
[[nodiscard]] std::span<const FindingEntry> AllFindings();
[[nodiscard]] const FindingEntry& EntryOf(FindingCode code);
[[nodiscard]] std::optional<FindingCode> FindingOfId(std::string_view id);
// As the headings of docs/lint.md have it.
[[nodiscard]] std::string_view TitleOf(Topic topic);
// "note", "warning", "error".
[[nodiscard]] std::string_view WordOf(Severity severity);

}  // namespace quillmark::advice
