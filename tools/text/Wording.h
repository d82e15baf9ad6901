// Pieces of the sentences that the tool prints.
//
// Threading: free functions without state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillmark {

// "1 window", "2 windows".
[[nodiscard]] std::string Counted(std::size_t count, const std::string& thing);

// UTC milliseconds since 1970-01-01 as date and time.
[[nodiscard]] std::string UtcTime(std::uint64_t tsMs);

}  // namespace quillmark
