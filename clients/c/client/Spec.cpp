#include "client/Spec.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include "client/Refused.h"
#include "client/Text.h"

namespace quillmark::client {
namespace {

void Require(bool good, const std::string& what, const std::string& problem) {
  if (!good) throw Refused(Refusal::BadValue, what, problem);
}

// The suffix FPSn makes the worker search every k-th frame, k = 30 / n rounded.
std::string FrameSuffix(std::int32_t everyNthFrame) {
  constexpr std::array<std::pair<int, int>, 9> rates{
      {{2, 15}, {3, 10}, {4, 7}, {5, 6}, {6, 5}, {8, 4}, {10, 3}, {15, 2}, {30, 1}}};
  for (const auto& [nth, rate] : rates) {
    if (nth == everyNthFrame) return ":FPS" + std::to_string(rate);
  }
  throw Refused(Refusal::BadValue, "every_nth_frame", "must be 1, 2, 3, 4, 5, 6, 8, 10, 15 or 30");
}

// Decimal, without an exponent, and exact when parsed again.
std::string Decimal(double value) {
  std::array<char, 400> digits;
  const auto result =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed);
  return {digits.data(), result.ptr};
}

// The worker treats any name that contains it, in either case, as a red object's.
bool SaysRed(const std::string& name) {
  constexpr std::string_view red = "red";
  const auto same = [](char a, char b) { return (a | 0x20) == b; };
  return std::search(name.begin(), name.end(), red.begin(), red.end(), same) != name.end();
}

void CheckName(const Spec& spec) {
  (void)NonEmptyField("name", spec.name, HitNameUnits);
  if (spec.name.find(':') != std::string::npos) {
    throw Refused(Refusal::BadText, "name", "must not contain ':'; options have separate fields");
  }
  if (!spec.red && SaysRed(spec.name)) {
    throw Refused(Refusal::BadText, "name",
                  "'" + spec.name +
                      "' contains \"red\", which makes the worker treat the template as a red "
                      "object; set red, or choose another name");
  }
}

struct Limits {
  float threshold = NoThreshold;
  std::string option;
};

// The record has one threshold: above 0.5 it is a score, otherwise a difference. A difference that does not
// fit becomes an option word, which the worker accepts between 0 and 1, both excluded.
Limits LimitsOf(const Spec& spec) {
  Limits limits;
  if (spec.minScore) {
    const double score = *spec.minScore;
    const bool inRange = score > 0.5 && score <= 1.0;
    limits.threshold = inRange ? static_cast<float>(score) : 0.0f;
    Require(limits.threshold > 0.5f, "min_score", "must be above 0.5 and at most 1; omit it for none");
  }
  if (!spec.maxDifference) return limits;
  const double difference = *spec.maxDifference;
  Require(difference >= 0.0 && difference < 1.0, "max_difference", "must be at least 0 and below 1");
  if (!spec.minScore && spec.preset == Preset::None && difference <= 0.5) {
    limits.threshold = static_cast<float>(difference);
  } else {
    Require(difference > 0.0, "max_difference", "of 0 cannot be combined with a preset or min_score");
    limits.option = ":sq=" + Decimal(difference);
  }
  return limits;
}

// Later options win, so the preset comes first.
std::string OptionsOf(const Spec& spec, const std::string& difference) {
  const auto option = [](std::string_view word) { return ":" + std::string(word); };
  std::string options;
  if (spec.preset != Preset::None) options += option(PresetWords[static_cast<int>(spec.preset)]);
  const bool workersOwn = spec.mode == Mode::Gray && spec.preset == Preset::None;
  if (spec.mode != Mode::Unset && !workersOwn) {
    options += option("mode=") + std::string(ModeWords[static_cast<int>(spec.mode)]);
  }
  if (spec.intervalMs > 0) options += ":ms" + std::to_string(spec.intervalMs);
  options += difference;
  if (spec.monitor == -1) options += ":mon=primary";
  if (spec.monitor > 0) options += ":mon=" + std::to_string(spec.monitor);
  if (spec.red && !SaysRed(spec.name)) options += ":red";
  if (spec.everyNthFrame == 1) return options;
  Require(options.empty(), "every_nth_frame", "cannot be combined with other options");
  return FrameSuffix(spec.everyNthFrame);
}

}  // namespace

Command CommandFor(const Spec& spec) {
  CheckName(spec);
  Require(spec.width >= 1 && spec.height >= 1, "region", "must be at least 1 wide and 1 high");
  Require(spec.edgeMin >= -1.0 && spec.edgeMin <= 1.0, "edge_min", "must be between -1 and 1");
  Require(spec.intervalMs >= 0, "interval_ms", "must not be negative");
  Require(spec.monitor >= -1, "monitor", "must be 0 for all, -1 for the primary one, or a number from 1");

  const Limits limits = LimitsOf(spec);
  Command command;
  command.kind = CmdKind::Spec;
  command.target = NonEmptyField("target", spec.target, TargetUnits);
  command.name = Field("name with its options", spec.name + OptionsOf(spec, limits.option), NameUnits);
  command.path = NonEmptyField("path", spec.path, PathUnits);
  command.roiX = spec.x;
  command.roiY = spec.y;
  command.roiW = spec.width;
  command.roiH = spec.height;
  command.edgeMin = static_cast<float>(spec.edgeMin);
  command.threshold = limits.threshold;
  return command;
}

Command RemovalOf(const std::string& name) {
  Command command;
  command.kind = CmdKind::Remove;
  command.name = NonEmptyField("name", name, NameUnits);
  if (name.find(':') != std::string::npos) {
    throw Refused(Refusal::BadText, "name", "must not include options");
  }
  return command;
}

}  // namespace quillmark::client
