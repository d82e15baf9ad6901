// Sees from outside whether a worker runs, and tells one worker from the next, without a question to it and
// without leaving a trace that a worker could take for another instance.
//
// A running worker's main thread owns the mutex of the single instance for as long as it lives. That somebody
// else holds the mutex open means nothing: a refused second instance does until its box is closed.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <memory>

namespace quillmark::client {

struct WorkerSight {
  bool running = false;
  std::uint64_t identity = 0;  // another one for another worker; 0 while it cannot be known
};

class WorkerProbe {
 public:
  // Of the session that the process is in now. Raises std::runtime_error when that has no place for objects.
  WorkerProbe();
  ~WorkerProbe();
  [[nodiscard]] WorkerSight Look() const;

 private:
  struct Session;
  std::unique_ptr<const Session> session;
};

}  // namespace quillmark::client
