// The session that the worker and the tool share: one implementation per host.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>

#include "doctor/Doctor.h"

namespace quillmark::control::host {

// Session, permissions, limits, display server, fonts.
[[nodiscard]] Checks ExamineSession();

// A folder of this user that lasts as long as the session at most. Raises std::runtime_error when there is
// none.
[[nodiscard]] std::filesystem::path SessionFolder();

}  // namespace quillmark::control::host
