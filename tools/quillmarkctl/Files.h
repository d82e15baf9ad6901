// Reads and writes whole files.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "text/Printable.h"

namespace quillmark::control {

// Nothing when it cannot be read.
[[nodiscard]] std::optional<std::string> ContentOf(const std::filesystem::path& file);
// Raises std::runtime_error when it cannot be written, which leaves a file that was there as it was, and for
// a named pipe, whose reader may never come. Who reads meanwhile finds the old file or the new one, whole.
void WriteFile(const std::filesystem::path& file, const std::string& content);

}  // namespace quillmark::control
