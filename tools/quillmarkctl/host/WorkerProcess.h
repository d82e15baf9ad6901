// The process of the worker, as this host's tools name it: one implementation a host.
//
// Threading: free functions without state.
#pragma once

#include <cstdint>

namespace quillmark::control::host {

struct WorkerProcess {
  std::uint32_t id = 0;         // 0 when it is not known
  std::uint64_t startedMs = 0;  // UTC milliseconds since 1970-01-01, likewise
};

// Of the worker with this identity, as the client library's probe gives it.
[[nodiscard]] WorkerProcess ProcessOf(std::uint64_t identity);

}  // namespace quillmark::control::host
