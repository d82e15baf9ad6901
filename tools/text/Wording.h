// Parts of sentences.
//
// Threading: free functions without state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillmark {

// "1 window", "2 windows".
[[nodiscard]] std::string Counted(std::size_t count, const std::string& thing);

// The date and time of UTC milliseconds since 1970-01-01.
[[nodiscard]] std::string UtcTime(std::uint64_t tsMs);

}  // namespace quillmark
