// The closed list of findings. Codes never change. docs/lint.md is the list for users.
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
  // On a screenshot
  NotOnPicture,
  SecondAccepted,
  SecondClose,
  // Several specs
  SameName,
  MatchesOther,
};

enum class Topic : std::int32_t { Texts, File, Template, Limits, Region, Picture, Several };

enum class Severity : std::int32_t {
  Note,     // fine for some purposes, but easy to get wrong
  Warning,  // false hits or missed ones
  Error,    // no hits at all
};

struct FindingEntry {
  FindingCode code;
  Topic topic;
  Severity severity;
  std::string_view id;       // lower case, words joined by '-'
  std::string_view meaning;  // one sentence each
  std::string_view consequence;
  std::string_view remedy;
};

// In the order of the enumeration.
[[nodiscard]] std::span<const FindingEntry> AllFindings();
[[nodiscard]] const FindingEntry& EntryOf(FindingCode code);
[[nodiscard]] std::optional<FindingCode> FindingOfId(std::string_view id);
// The heading in docs/lint.md.
[[nodiscard]] std::string_view TitleOf(Topic topic);
// "note", "warning", "error".
[[nodiscard]] std::string_view WordOf(Severity severity);

}  // namespace quillmark::advice
