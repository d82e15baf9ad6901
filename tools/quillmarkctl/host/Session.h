// The session that the worker and the tool share: one implementation per host.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>

#include "host/Check.h"

namespace quillmark::control::host {

// Checks permissions, limits, the display server and fonts.
[[nodiscard]] Checks ExamineSession();

// A folder of this user that lasts no longer than the session. Raises std::runtime_error if there is none.
[[nodiscard]] std::filesystem::path SessionFolder();

}  // namespace quillmark::control::host
