// A folder of the user's own that lives no longer than the session: one implementation a host.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>

namespace quillmark::control::host {

// Raises std::runtime_error when there is none.
[[nodiscard]] std::filesystem::path SessionFolder();

}  // namespace quillmark::control::host
