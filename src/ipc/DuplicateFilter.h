// Tells hits that say something new from near-repetitions of the last hit accepted under the same name: one
// at almost the same place soon after it, and a clearly weaker one soon after it, wherever that lies.
//
// A refused hit leaves no trace, so a target that stands still passes once a window. The only clock is the
// time in the hits.
//
// Threading: one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "ipc/HitRecord.h"

namespace quillmark {

// What a hit repeats of the last one of its name.
enum class Repetition : std::int32_t { None, SamePlace, Weaker };

class DuplicateFilter {
 public:
  // A hit that repeats nothing is what the next one of its name is held against.
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
