// The expected result of a replay, in the file expected.json of the recording: a regression test.
// docs/replay.md describes the file.
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

// A field without a value matches anything.
struct ExpectedHit {
  std::string name;
  std::optional<std::int64_t> tMs;
  std::optional<std::int64_t> cx, cy, w, h;
  std::optional<double> score, edge;  // within ScoreTolerance
};

struct Expectations {
  std::vector<ExpectedHit> hits;                                // exactly these, in this order
  std::vector<std::pair<std::string, reasons::Reason>> silent;  // specs without a hit, and why
};

// Compilers and processors may round a score differently.
inline constexpr double ScoreTolerance = 0.001;
inline constexpr char ExpectationsFile[] = "expected.json";

// Reads the folder's expected.json. Raises FormatError as ReadRecording does.
[[nodiscard]] Expectations ReadExpectations(const std::filesystem::path& folder);

// The text of an expected.json that matches this result.
[[nodiscard]] std::string ExpectationsText(const ReplayResult& result);

// One line per difference; none when the result is as expected.
[[nodiscard]] std::vector<std::string> Differences(const Expectations& expected, const ReplayResult& result);

}  // namespace quillmark::replay
