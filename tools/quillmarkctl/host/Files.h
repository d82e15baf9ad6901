// Reads and writes whole files.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillmark::control::host {

// The file's bytes; empty if it cannot be read.
[[nodiscard]] std::optional<std::string> ContentOf(const std::filesystem::path& file);
// Replaces the file at once: readers see either the old content or the new. Raises std::runtime_error,
// leaving an existing file as it was, when it cannot be written or is a named pipe, which might block for
// ever.
void WriteFile(const std::filesystem::path& file, const std::string& content);

}  // namespace quillmark::control::host
