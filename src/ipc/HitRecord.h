// A hit inside the process, before it becomes a record of the ring.
//
// Threading: a plain value.
#pragma once

#include <cstdint>
#include <string>

namespace quillmark {

struct HitRecord {
  std::wstring name;                // spec that matched; key of the deduplication
  std::int32_t cx = 0, cy = 0;      // centre, relative to the target's client area
  std::int32_t w = 0, h = 0;        // size in desktop pixels
  float sq = 0.0f;                  // match score, 1 is perfect
  float edge = 0.0f;                // edge score, 0 if not computed
  std::uint64_t tsMs = 0;           // UTC milliseconds since 1970-01-01
  std::uint64_t dedupWindowMs = 0;  // window of the position rule, 0 for the default
};

// How long a hit at the same place counts as a repetition, in milliseconds. `windowMs` is the hit's own
// window.
[[nodiscard]] inline std::uint64_t PositionWindowMs(const std::wstring& name, std::uint64_t windowMs) {
  constexpr std::uint64_t DefaultWindowMs = 150, FastWindowMs = 30;
  if (windowMs != 0) return windowMs;
  return name == L"T1" ? FastWindowMs : DefaultWindowMs;
}

}  // namespace quillmark
