// A spec as a controller thinks of it, with typed options in place of option words and with a difference and
// a score in place of the one threshold; and its translation into the record that says the same.
//
// Threading: plain values and free functions without state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "client/Command.h"

namespace quillmark::client {

enum class Mode { Unset, Gray, Bgr, S, H, HS };
enum class Preset { None, Fast, Strict };

// Texts in UTF-8. Where a preset and an option speak of the same, the option wins.
struct Spec {
  std::string target{};  // part of a window's title, or a program's file name that ends in .exe
  std::string name{};    // without options; what hits are called
  std::string path{};    // the template image, as the worker sees it
  std::int32_t x = 0, y = 0, width = 0, height = 0;  // region in pixels of the target's client area

  std::optional<double> maxDifference{};  // 0 to 1, 1 excluded; the worker's own is 0.1
  std::optional<double> minScore{};       // above 0.5, up to 1; the worker's own is none
  double edgeMin = 0.75;                  // least edge correlation, -1 to 1; below 0.66 acts as 0.66

  Mode mode = Mode::Unset;  // unset: grey, or what the preset prefers
  Preset preset = Preset::None;
  bool red = false;                // the template is a red object
  std::int32_t intervalMs = 0;     // search at most once in so many ms; 0: whenever there is a frame
  std::int32_t everyNthFrame = 1;  // 2, 3, 4, 5, 6, 8, 10, 15 or 30, and then without another option
  std::int32_t monitor = 0;        // 0: all, -1: the primary one, n: the n-th, from 1
};

// The command that adds the spec. Raises Refused when a text does not fit its field, a number lies outside
// its range, or the record cannot say what the spec says.
[[nodiscard]] Command CommandFor(const Spec& spec);

// The command that removes the spec of this name. Raises Refused as above, also for a name with options.
[[nodiscard]] Command RemovalOf(const std::string& name);

}  // namespace quillmark::client
