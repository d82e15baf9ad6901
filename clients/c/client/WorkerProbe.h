// Detects from outside whether a worker is running, and distinguishes one worker from the next, without
// sending it a command and without leaving a trace that a worker could take for another instance.
//
// A running worker's main thread owns the single-instance mutex. That the mutex merely exists means nothing:
// a refused second instance keeps it open until its message box is closed.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <memory>

namespace quillmark::client {

struct WorkerSight {
  bool running = false;
  std::uint64_t identity = 0;  // differs from worker to worker; 0 if unknown
};

class WorkerProbe {
 public:
  // For the current session. Raises std::runtime_error when it has no folder for named objects.
  WorkerProbe();
  ~WorkerProbe();
  [[nodiscard]] WorkerSight Look() const;

 private:
  struct Session;
  std::unique_ptr<const Session> session;
};

struct WorkerNews {
  bool gone = false, started = false;
};

// Follows a session's workers from look to look.
class WorkerHistory {
 public:
  explicit WorkerHistory(const WorkerSight& first) : last(first) {}

  // What has changed since the last look.
  WorkerNews Add(const WorkerSight& now) {
    const bool another = now.identity != 0 && last.identity != 0 && now.identity != last.identity;
    const WorkerNews news{last.running && !now.running, now.running && (!last.running || another)};
    last = {now.running, now.identity != 0 ? now.identity : last.identity};
    return news;
  }
  // The last look, with the last known identity.
  [[nodiscard]] const WorkerSight& Last() const { return last; }

 private:
  WorkerSight last;
};

}  // namespace quillmark::client
