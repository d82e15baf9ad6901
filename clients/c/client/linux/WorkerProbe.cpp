// The owner of a mutex locks a byte of its file and writes its thread id into it; for the worker's main
// thread, that is its process id. Querying the lock leaves no trace.
#include "client/WorkerProbe.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

#include "host/UniqueFd.h"
#include "kernel32/SessionFolder.h"
#include "kernel32/SharedFile.h"

namespace quillmark::client {

struct WorkerProbe::Session {
  layer::UniqueFd folder;
};

WorkerProbe::WorkerProbe() : session(new Session{layer::OpenSessionFolder()}) {
  if (!session->folder) throw std::runtime_error("the session's folder cannot be opened");
}

WorkerProbe::~WorkerProbe() = default;

WorkerSight WorkerProbe::Look() const {
  const layer::UniqueFd file(::openat(session->folder.Get(), "KXRQTLV1_Quillmark.mutex",
                                      O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  WorkerSight sight;
  sight.running = file && layer::IsByteLocked(file.Get(), layer::SharedFile::kOwnerByte);
  std::uint32_t owner = 0;
  if (sight.running && ::pread(file.Get(), &owner, sizeof owner, 0) == sizeof owner) sight.identity = owner;
  return sight;
}

}  // namespace quillmark::client
