// What a recording is expected to give, as the file expected.json beside it, which makes a regression test of
// the recording. docs/replay.md describes the file.
//
// Threading: plain values and free functions.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "reasons/Reasons.h"
#include "replay/Recording.h"
#include "replay/Replay.h"

namespace quillmark::replay {

// What is not given may be anything.
struct ExpectedHit {
  std::string name;
  std::optional<std::int64_t> tMs;
  std::optional<std::int64_t> cx, cy, w, h;
  std::optional<double> score, edge;  // within ScoreTolerance
};

struct Expectations {
  std::vector<ExpectedHit> hits;                                // these and no others, in this order
  std::vector<std::pair<std::string, explain::Reason>> silent;  // specs without a hit, and why
};

// Builds of other compilers and processors may round a score differently.
inline constexpr double ScoreTolerance = 0.001;
inline constexpr char ExpectationsFile[] = "expected.json";

// Reads expected.json of the folder. Raises FormatError as ReadRecording does.
[[nodiscard]] Expectations ReadExpectations(const std::filesystem::path& folder);

// The text of an expected.json that this result meets.
[[nodiscard]] std::string ExpectationsText(const ReplayResult& result);

// Each difference between the two as a line; none when the result is as expected.
[[nodiscard]] std::vector<std::string> Differences(const Expectations& expected, const ReplayResult& result);

}  // namespace quillmark::replay
