#include "ipc/DuplicateFilter.h"

#include <algorithm>
#include <cstdlib>

namespace quillmark {

namespace {

constexpr double ToleranceShare = 0.1;  // of the hit's longer side
constexpr int MinTolerance = 3, MaxTolerance = 12;
constexpr float ScoreMargin = 0.02f;
constexpr std::uint64_t ScoreWindowMs = 300;

std::int64_t ToleranceOf(const HitRecord& hit) {
  const int share = static_cast<int>(static_cast<double>(std::max(hit.w, hit.h)) * ToleranceShare);
  return std::max(std::min(share, MaxTolerance), MinTolerance);
}

}  // namespace

Repetition DuplicateFilter::Compare(const HitRecord& hit, const LastSent& last) {
  // A clock that stepped back counts as no time passed.
  const std::uint64_t elapsedMs = hit.tsMs < last.tsMs ? 0 : hit.tsMs - last.tsMs;
  const std::int64_t dx = std::int64_t{hit.cx} - last.cx;
  const std::int64_t dy = std::int64_t{hit.cy} - last.cy;
  const std::int64_t tolerance = ToleranceOf(hit);
  if (std::abs(dx) <= tolerance && std::abs(dy) <= tolerance &&
      elapsedMs < PositionWindowMs(hit.name, hit.dedupWindowMs)) {
    return Repetition::SamePlace;
  }
  if (last.sq >= hit.sq + ScoreMargin && elapsedMs < ScoreWindowMs) return Repetition::Weaker;
  return Repetition::None;
}

Repetition DuplicateFilter::Admit(const HitRecord& hit) {
  const auto [entry, isNew] = lastSent.try_emplace(hit.name);
  if (!isNew) {
    const Repetition repetition = Compare(hit, entry->second);
    if (repetition != Repetition::None) return repetition;
  }
  entry->second = {hit.cx, hit.cy, hit.tsMs, hit.w, hit.h, hit.sq};
  return Repetition::None;
}

}  // namespace quillmark
