// The worker's side of the hit ring: hits and replies to the controller through shared memory. A hit that
// finds the ring full is refused and counted, never waited for.
//
// Threading: every operation may be called from any thread of the process.
#pragma once

#include <cstdint>
#include <string>

namespace quillmark {

// Writes one hit or reply into the process's hit ring, or drops it. Position and size in pixels, `tsMs` in
// UTC milliseconds since 1970-01-01; of the name, 31 UTF-16 units are kept.
void WriteHit(const std::wstring& name, std::int32_t cx, std::int32_t cy, std::int32_t w, std::int32_t h,
              float sq, float edge, std::uint64_t tsMs);

}  // namespace quillmark
