// A controller's side of both rings: sends commands, waits for replies, and hands out one ordered stream of
// records with hits, replies and news about the worker.
//
// Every call that waits keeps reading the hit ring into a queue, so that there is always room for a reply.
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
#include <string_view>

#include "client/CommandRing.h"
#include "client/HitReader.h"
#include "client/Spec.h"
#include "client/WorkerProbe.h"

namespace quillmark::client {

// How the reply to a version command begins.
inline constexpr std::string_view VersionReply = "__ver__:";

enum class Outcome {
  Done,
  NoWorker,  // none is running
  Stalled,   // one is running, but did not take the command or reply in time
  Busy,      // another client kept writing
};

// Another client holds the rings.
class Taken : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct State {
  bool workerRunning = false;
  std::uint32_t unreadCommands = 0;
  std::uint32_t queuedRecords = 0;  // not yet handed out
  std::uint64_t dropped = 0;        // hits lost since the client was opened
  std::uint32_t workerStarts = 0;   // seen since then
};

class Client {
 public:
  // Records that the client keeps for its caller. Beyond that, its hits are dropped and reported as such.
  static constexpr std::size_t QueueLimit = 65536;

  // Opens or creates both rings and discards earlier hits unless `keepUnread`. Raises Taken, or
  // std::runtime_error when a ring cannot be opened.
  explicit Client(bool keepUnread = false);

  // Publishes a command, waiting for a free slot until the deadline. Done does not mean that a worker has
  // taken it: one that starts later will.
  [[nodiscard]] Outcome Send(const Command& command, Deadline deadline);
  // Waits until the worker has executed everything sent before.
  [[nodiscard]] Outcome Barrier(Deadline deadline);
  [[nodiscard]] Outcome Version(Deadline deadline, std::string& version);

  // Hands out the oldest records as soon as there are any; none if none come before the deadline.
  [[nodiscard]] std::size_t Read(std::span<Record> records, Deadline deadline);

  [[nodiscard]] State Look();

 private:
  // Sends the command and waits for a reply that starts with `reply`.
  Outcome Ask(const Command& command, std::string_view reply, Deadline deadline);
  void Pump();
  void WatchWorker();
  void WaitForHits(Deadline deadline) const;
  void Push(Record record);
  void DropHits();

  const HitConsumer consumer;
  HitReader hits;
  CommandRing commands;
  const WorkerProbe probe;

  std::deque<Record> queue;
  std::string awaited;                // start of the awaited reply; empty for none
  std::optional<Record> answer;       // that reply
  std::uint32_t droppedByWorker = 0;  // the ring's last known count
  std::uint64_t dropped = 0;

  std::wstring barrierPrefix;  // of this client's heartbeats
  std::uint32_t barriers = 0;

  WorkerHistory worker{probe.Look()};
  std::uint32_t workerStarts = 0;
  Deadline nextLook{};
};

}  // namespace quillmark::client
