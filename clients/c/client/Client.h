// A controller's whole side of both rings: sends commands, asks questions and waits for their replies, and
// hands out, as one stream of records in order, what the worker reported and what became of the worker.
//
// Whatever waits keeps reading the hit ring into a queue, so that the ring does not fill up meanwhile and a
// reply finds its place.
//
// Threading: one thread at a time.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include "client/CommandRing.h"
#include "client/HitReader.h"
#include "client/Spec.h"
#include "client/WorkerProbe.h"

namespace quillmark::client {

struct Record {
  enum class Kind {
    Hit,
    Reply,          // to a command of another client
    Dropped,        // `count` hits found no place and are lost; when exactly cannot be known
    WorkerGone,     // no worker runs any more
    WorkerStarted,  // one runs that did not before; it knows no spec
  };
  Kind kind = Kind::Hit;
  // UTC milliseconds since 1970-01-01: the worker's of hits and replies, else when it was noticed.
  std::uint64_t tsMs = 0;
  // Of hits: the centre and the size in pixels of the target's client area.
  std::int32_t cx = 0, cy = 0, w = 0, h = 0;
  float score = 0.0f, edge = 0.0f;
  std::uint32_t count = 0;
  std::string name;  // of the spec, or the reply's text; UTF-8, unpaired surrogates as U+FFFD
};

enum class Outcome {
  Done,
  NoWorker,  // none runs
  Stalled,   // one runs, and did not take the command or answer it in time
  Busy,      // another client kept writing
};

// The rings belong to another client already.
class Taken : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct State {
  bool workerRunning = false;
  std::uint32_t unreadCommands = 0;
  std::uint32_t queuedRecords = 0;  // read and not yet handed out
  std::uint64_t dropped = 0;        // hits lost since the client was opened
  std::uint32_t workerStarts = 0;   // seen since then
};

class Client {
 public:
  // Records that the client keeps for its caller. Beyond, the hits among them are lost, reported as dropped.
  static constexpr std::size_t QueueLimit = 65536;

  // Opens or creates both rings. Hits from before are let go unless `keepUnread`. Raises Taken, or
  // std::runtime_error when a ring cannot be opened.
  explicit Client(bool keepUnread = false);

  // Publishes behind what waits. Done says that it was published, with or without a worker: one that starts
  // later finds it. Waits for a free slot until the deadline.
  [[nodiscard]] Outcome Send(const Command& command, Deadline deadline);
  // Waits until the worker has executed everything that was sent before.
  [[nodiscard]] Outcome Barrier(Deadline deadline);
  [[nodiscard]] Outcome Version(Deadline deadline, std::string& version);

  // Moves the oldest records out, as soon as there are any; none when there are none until the deadline.
  [[nodiscard]] std::size_t Read(std::span<Record> records, Deadline deadline);

  [[nodiscard]] State Look();

 private:
  // Sends the command and waits for the reply that begins so.
  Outcome Ask(const Command& command, const std::string& reply, Deadline deadline);
  void Pump();
  void WatchWorker();
  void WaitForHits(Deadline deadline) const;
  void Push(Record record);
  void LetGo();

  const HitConsumer consumer;
  HitReader hits;
  CommandRing commands;
  const WorkerProbe probe;

  std::deque<Record> queue;
  std::string awaited;                // how the reply that is waited for begins; empty for none
  std::optional<Record> answer;       // that reply
  std::uint32_t droppedByWorker = 0;  // the ring's count when it was last looked at
  std::uint64_t dropped = 0;

  std::wstring barrierPrefix;  // of this client's own questions
  std::uint32_t barriers = 0;

  WorkerSight worker;  // its identity stays that of the last one known
  std::uint32_t workerStarts = 0;
  Deadline nextLook{};
};

}  // namespace quillmark::client
