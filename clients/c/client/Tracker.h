// What the stream of records says about each spec that is watched: that its object appeared, moved, has been
// stable, is lost, or that nothing is known.
//
// A spec's silence proves nothing: a screen that stands still gives no frames, a repetition is held back, a
// hit may have found the ring full. A spec is lost when frames are known to have been searched without a hit
// of it, and a witness knows: another spec on the same monitor, best in the same window. The worker finishes
// each frame before the next and holds no repetition back for longer than 300 ms (or 0.6 of the spec's
// interval), so of three hits of one witness from then on the first says that a hit would be let through,
// the second that the spec was searched for again, the third that this search is over. Without a witness
// only the caller can say that its screen never stands still.
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
  std::string name;                    // of the spec, as its hits carry it
  std::vector<std::string> witnesses;  // names of other specs whose region lies on the same monitor
  std::int32_t moveTolerance = 1;      // pixels on either axis that are no move yet
  std::uint32_t stableMs = 0;          // 0: never report it
  std::uint32_t intervalMs = 0;        // the spec's own interval
  std::uint32_t gapMs = 0;         // silence after which a stay counts anew; 0: 1000, or 3 intervals if more
  std::uint32_t unknownMs = 2000;  // silence after which nothing is known any more; 0: never
  std::uint32_t lostMs = 0;        // silence that the caller takes for a loss; 0: never
};

enum class Sight { Unknown, Present, Lost };

struct Event {
  enum class Kind { Appeared, Moved, Stable, Lost, Unknown };
  enum class Reason {
    Hit,      // of Appeared, Moved, Stable
    Witness,  // frames were searched without a hit
    Silence,  // nothing was heard for unknownMs or lostMs
    WorkerGone,
    WorkerStarted,  // a new worker knows no spec
  };
  Kind kind = Kind::Unknown;
  Reason reason = Reason::Hit;
  Sight was = Sight::Unknown;  // before
  std::uint64_t tsMs = 0;      // of the hit, the witness's hit or the news; of silence, the time given
  std::uint64_t stableMs = 0;  // of Stable: how long
  Record hit;                  // the last one
};

class Tracker {
 public:
  // Begins to watch a spec, or begins anew: nothing is known of it. Call it when the spec was sent again,
  // too. Raises Refused for a spec that is its own witness and for a negative tolerance.
  void Begin(const Watch& watch);
  void End(const std::string& name);
  // What is known of it; Unknown of a spec that is not watched.
  [[nodiscard]] Sight Of(const std::string& name) const;

  // The events that the record causes, in order. Records come in the order of their stream.
  [[nodiscard]] std::vector<Event> Feed(const Record& record);
  // The events that the passing of time causes; `nowMs` in UTC milliseconds since 1970-01-01, as of hits.
  [[nodiscard]] std::vector<Event> Advance(std::uint64_t nowMs);

 private:
  // How far a witness's hits have come in proving a loss.
  struct Proof {
    int hits = 0;
    std::uint64_t firstMs = 0;
  };
  struct Watched {
    Watch watch;
    Sight sight = Sight::Unknown;
    bool seen = false;          // by the worker that runs now
    Record last;                // its last hit, once seen
    std::int32_t x = 0, y = 0;  // the place that was reported last
    std::uint64_t stayMs = 0;   // the hit with which the stay there began
    bool stayTold = false;
    std::map<std::string, Proof> proofs;  // of each witness
  };

  void Sighted(Watched& watched, const Record& hit, std::vector<Event>& events) const;
  void Testified(Watched& watched, Proof& proof, const Record& hit, std::vector<Event>& events) const;
  void ForgetAll(Event::Reason reason, std::uint64_t tsMs, std::vector<Event>& events);

  std::map<std::string, Watched> specs;
  std::uint64_t evidenceFromMs = 0;  // before it hits may have been lost
};

}  // namespace quillmark::client
