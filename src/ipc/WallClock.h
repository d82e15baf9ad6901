// The clock of hit time stamps.
//
// Threading: any thread.
#pragma once

#include <cstdint>

namespace quillmark {

// UTC milliseconds since 1970-01-01; steps when the system's clock is set.
[[nodiscard]] std::uint64_t WallClockMs();

}  // namespace quillmark
