#include "client/Tracker.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "client/Refused.h"

namespace quillmark::client {
namespace {

constexpr std::uint64_t HoldBackMs =
    300;  // the maximum time for which the worker suppresses weaker repetitions
constexpr std::uint64_t MinGapMs = 1000;
// An interval starts when a frame is captured; a hit's time is when it was searched.
constexpr std::uint64_t IntervalSlackMs = 250;

std::uint64_t GapOf(const Watch& watch) {
  if (watch.gapMs != 0) return watch.gapMs;
  return std::max(MinGapMs, std::uint64_t{3} * watch.intervalMs);
}

std::uint64_t QuietMs(const Watch& watch) {
  return std::max(HoldBackMs, std::uint64_t{watch.intervalMs} * 6 / 10);
}

std::uint64_t Since(std::uint64_t now, std::uint64_t then) {
  return now > then ? now - then : 0;
}

bool Apart(std::int32_t a, std::int32_t b, std::int32_t tolerance) {
  return std::abs(std::int64_t{a} - b) > tolerance;
}

}  // namespace

void Tracker::Begin(const Watch& watch) {
  Watched watched;
  if (watch.moveTolerance < 0) throw Refused(Refusal::BadValue, "move_tolerance", "must not be negative");
  for (const std::string& witness : watch.witnesses) {
    if (witness == watch.name)
      throw Refused(Refusal::BadValue, "witnesses", "must not include the spec itself");
    watched.proofs[witness] = {};
  }
  watched.watch = watch;
  specs[watch.name] = std::move(watched);
}

void Tracker::End(const std::string& name) {
  specs.erase(name);
}

Sight Tracker::Of(const std::string& name) const {
  const auto found = specs.find(name);
  return found == specs.end() ? Sight::Unknown : found->second.sight;
}

std::vector<Event> Tracker::Feed(const Record& record) {
  std::vector<Event> events;
  switch (record.kind) {
    case Record::Kind::Hit:
      for (auto& [name, watched] : specs) {
        const auto proof = watched.proofs.find(record.name);
        if (name == record.name) Sighted(watched, record, events);
        if (proof != watched.proofs.end()) Testified(watched, proof->second, record, events);
      }
      break;
    case Record::Kind::Reply:
      break;
    case Record::Kind::Dropped:
      evidenceFromMs = std::max(evidenceFromMs, record.tsMs);
      for (auto& [name, watched] : specs) {
        for (auto& [witness, proof] : watched.proofs) proof = {};
        watched.stayMs = record.tsMs;
      }
      break;
    case Record::Kind::WorkerGone:
      ForgetAll(Event::Reason::WorkerGone, record.tsMs, events);
      break;
    case Record::Kind::WorkerStarted:
      ForgetAll(Event::Reason::WorkerStarted, record.tsMs, events);
      break;
  }
  return events;
}

void Tracker::Sighted(Watched& watched, const Record& hit, std::vector<Event>& events) const {
  const Watch& watch = watched.watch;
  const Sight was = std::exchange(watched.sight, Sight::Present);
  const bool moved =
      Apart(hit.cx, watched.x, watch.moveTolerance) || Apart(hit.cy, watched.y, watch.moveTolerance);
  const bool gap = watched.seen && Since(hit.tsMs, watched.last.tsMs) > GapOf(watch);
  for (auto& [witness, proof] : watched.proofs) proof = {};
  watched.seen = true;
  watched.last = hit;

  const auto tell = [&](Event::Kind kind, std::uint64_t stableMs = 0) {
    events.push_back({kind, Event::Reason::Hit, was, hit.tsMs, stableMs, hit});
  };
  if (was != Sight::Present || moved) {
    tell(was == Sight::Present ? Event::Kind::Moved : Event::Kind::Appeared);
    watched.x = hit.cx;
    watched.y = hit.cy;
    watched.stayTold = false;
  }
  if (was != Sight::Present || moved || gap) watched.stayMs = hit.tsMs;
  const std::uint64_t stay = Since(hit.tsMs, watched.stayMs);
  if (watch.stableMs == 0 || watched.stayTold || stay < watch.stableMs) return;
  watched.stayTold = true;
  tell(Event::Kind::Stable, stay);
}

void Tracker::Testified(Watched& watched, Proof& proof, const Record& hit, std::vector<Event>& events) const {
  if (!watched.seen || watched.sight == Sight::Lost) return;
  if (hit.tsMs < proof.firstMs) proof = {};  // the clock was set back
  switch (proof.hits) {
    case 0:
      if (hit.tsMs < std::max(watched.last.tsMs, evidenceFromMs) + QuietMs(watched.watch)) return;
      proof = {1, hit.tsMs};
      return;
    case 1: {
      const std::uint64_t interval = watched.watch.intervalMs;
      if (interval == 0 || hit.tsMs >= proof.firstMs + interval + IntervalSlackMs) proof.hits = 2;
      return;
    }
    default:
      break;
  }
  const Sight was = std::exchange(watched.sight, Sight::Lost);
  events.push_back({Event::Kind::Lost, Event::Reason::Witness, was, hit.tsMs, 0, watched.last});
}

void Tracker::ForgetAll(Event::Reason reason, std::uint64_t tsMs, std::vector<Event>& events) {
  evidenceFromMs = std::max(evidenceFromMs, tsMs);
  for (auto& [name, watched] : specs) {
    const Sight was = std::exchange(watched.sight, Sight::Unknown);
    watched.seen = false;
    for (auto& [witness, proof] : watched.proofs) proof = {};
    if (was != Sight::Unknown) events.push_back({Event::Kind::Unknown, reason, was, tsMs, 0, watched.last});
  }
}

std::vector<Event> Tracker::Advance(std::uint64_t nowMs) {
  std::vector<Event> events;
  for (auto& [name, watched] : specs) {
    if (!watched.seen || watched.sight == Sight::Lost) continue;
    const Watch& watch = watched.watch;
    const std::uint64_t silence = Since(nowMs, watched.last.tsMs);
    const bool lost = watch.lostMs != 0 && silence >= watch.lostMs;
    const bool unknown = watch.unknownMs != 0 && silence >= watch.unknownMs;
    if (!lost && (!unknown || watched.sight == Sight::Unknown)) continue;
    const Sight was = std::exchange(watched.sight, lost ? Sight::Lost : Sight::Unknown);
    events.push_back({lost ? Event::Kind::Lost : Event::Kind::Unknown, Event::Reason::Silence, was, nowMs, 0,
                      watched.last});
  }
  return events;
}

}  // namespace quillmark::client
