// Refuses near-repetitions of the last hit accepted under the same name: hits at almost the same place, and
// clearly weaker hits anywhere, soon after it. Refused hits are not remembered, so a motionless target
// passes once per window. The only clock is the hits' time stamps.
//
// Threading: one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "ipc/HitRecord.h"

namespace quillmark {

// How a hit repeats the last one of its name.
enum class Repetition : std::int32_t { None, SamePlace, Weaker };

class DuplicateFilter {
 public:
  // The next hit of the name is compared with the last one for which this returned None.
  [[nodiscard]] Repetition Admit(const HitRecord& hit);

 private:
  // The last hit accepted under one name.
  struct LastSent {
    std::int32_t cx = 0, cy = 0;
    std::uint64_t tsMs = 0;
    std::int32_t w = 0, h = 0;
    float sq = 0.0f;
  };

  static Repetition Compare(const HitRecord& hit, const LastSent& last);

  std::unordered_map<std::wstring, LastSent> lastSent;
};

}  // namespace quillmark
