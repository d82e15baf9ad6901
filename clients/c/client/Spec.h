// A spec with typed options instead of option words, and with a difference and a score instead of the
// record's single threshold; and its translation into that record.
//
// Threading: plain values and free functions without state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "client/Command.h"

namespace quillmark::client {

enum class Mode { Unset, Gray, Bgr, S, H, HS };
enum class Preset { None, Fast, Strict };
// Their option words, in the order of the enumerations.
inline constexpr std::string_view ModeWords[] = {"", "gray", "bgr", "s", "h", "hs"};
inline constexpr std::string_view PresetWords[] = {"", "fast", "strict"};

// Texts in UTF-8. Options override the preset.
struct Spec {
  std::string target{};  // part of a window's title, or a program's file name that ends in .exe
  std::string name{};    // without options; the name in hits
  std::string path{};    // the template image, as the worker sees it
  std::int32_t x = 0, y = 0, width = 0, height = 0;  // region in pixels of the target's client area

  std::optional<double> maxDifference{};  // from 0 to below 1; the worker's default is 0.1
  std::optional<double> minScore{};       // above 0.5, at most 1; by default none
  double edgeMin = 0.75;                  // minimum edge correlation, -1 to 1; below 0.66 acts as 0.66

  Mode mode = Mode::Unset;  // unset: gray, or the preset's
  Preset preset = Preset::None;
  bool red = false;                // the template is a red object
  std::int32_t intervalMs = 0;     // minimum time between searches; 0: search every frame
  std::int32_t everyNthFrame = 1;  // 2, 3, 4, 5, 6, 8, 10, 15 or 30 exclude all other options
  std::int32_t monitor = 0;        // 0: all, -1: the primary one, n: the n-th, from 1
};

// The command that adds the spec. Raises Refused when a text does not fit its field, a number is out of
// range, or the record cannot express the spec.
[[nodiscard]] Command CommandFor(const Spec& spec);

// The command that removes the spec with this name. Raises Refused as above, also for a name with options.
[[nodiscard]] Command RemovalOf(const std::string& name);

}  // namespace quillmark::client
