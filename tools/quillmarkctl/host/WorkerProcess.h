// The worker's process: one implementation per host.
//
// Threading: free functions without state.
#pragma once

#include <cstdint>

namespace quillmark::control::host {

struct WorkerProcess {
  std::uint32_t id = 0;         // 0 if unknown
  std::uint64_t startedMs = 0;  // UTC milliseconds since 1970-01-01, 0 if unknown
};

// The process of the worker with this identity, which comes from WorkerProbe.
[[nodiscard]] WorkerProcess ProcessOf(std::uint64_t identity);

}  // namespace quillmark::control::host
