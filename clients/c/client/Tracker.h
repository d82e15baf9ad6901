// Turns the stream of records into events per spec: appeared, moved, stable, lost, unknown.
//
// Silence proves nothing: an unchanged screen gives no frames, repetitions are suppressed, and hits may be
// dropped. A spec is lost when frames were searched without a hit, which a witness shows: another spec on the
// same monitor, best in the same window. The worker finishes each frame before the next, and suppresses
// repetitions for at most 300 ms (or 0.6 of the spec's interval). So after that time, the first hit of a
// witness shows that a hit would be reported, the second that the spec was searched for again, and the third
// that this search is over. Without a witness, only the caller knows that its screen always changes.
//
// Threading: one thread at a time; pure, times come with the records and the calls.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "client/Client.h"

namespace quillmark::client {

// Durations in milliseconds.
struct Watch {
  std::string name;                    // of the spec, as in its hits
  std::vector<std::string> witnesses;  // names of other specs on the same monitor
  std::int32_t moveTolerance = 1;      // largest change in pixels, on each axis, that is not a move
  std::uint32_t stableMs = 0;          // 0: never report it
  std::uint32_t intervalMs = 0;        // the spec's interval
  std::uint32_t gapMs = 0;             // silence that restarts stableMs; 0: 1000, or 3 intervals if longer
  std::uint32_t unknownMs = 2000;      // silence after which it is unknown; 0: never
  std::uint32_t lostMs = 0;            // silence that means a loss; 0: never
};

enum class Sight { Unknown, Present, Lost };

struct Event {
  enum class Kind { Appeared, Moved, Stable, Lost, Unknown };
  enum class Reason {
    Hit,      // of Appeared, Moved, Stable
    Witness,  // frames were searched without a hit
    Silence,  // no hit for unknownMs or lostMs
    WorkerGone,
    WorkerStarted,  // a new worker knows no specs
  };
  Kind kind = Kind::Unknown;
  Reason reason = Reason::Hit;
  Sight was = Sight::Unknown;  // before
  std::uint64_t tsMs = 0;      // of the record that caused it; for silence, the time passed to Advance
  std::uint64_t stableMs = 0;  // Stable: how long
  Record hit;                  // the last one
};

class Tracker {
 public:
  // Starts tracking a spec, or restarts with nothing known, for example when the spec was sent again. Raises
  // Refused for a spec that is its own witness, or a negative tolerance.
  void Begin(const Watch& watch);
  void End(const std::string& name);
  // The state of a spec; Unknown if it is not tracked.
  [[nodiscard]] Sight Of(const std::string& name) const;

  // The events that the record causes. Feed records in the order of their stream.
  [[nodiscard]] std::vector<Event> Feed(const Record& record);
  // The events caused by silence up to `nowMs`, in the unit of records.
  [[nodiscard]] std::vector<Event> Advance(std::uint64_t nowMs);

 private:
  // A witness's progress in proving a loss.
  struct Proof {
    int hits = 0;
    std::uint64_t firstMs = 0;
  };
  struct Watched {
    Watch watch;
    Sight sight = Sight::Unknown;
    bool seen = false;          // by the current worker
    Record last;                // its last hit, once seen
    std::int32_t x = 0, y = 0;  // the last reported place
    std::uint64_t stayMs = 0;   // time of the first hit there
    bool stayTold = false;
    std::map<std::string, Proof> proofs;  // of each witness
  };

  void Sighted(Watched& watched, const Record& hit, std::vector<Event>& events) const;
  void Testified(Watched& watched, Proof& proof, const Record& hit, std::vector<Event>& events) const;
  void ForgetAll(Event::Reason reason, std::uint64_t tsMs, std::vector<Event>& events);

  std::map<std::string, Watched> specs;
  std::uint64_t evidenceFromMs = 0;  // hits before this may have been lost
};

}  // namespace quillmark::client
