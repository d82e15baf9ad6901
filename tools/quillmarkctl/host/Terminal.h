// The terminal that the tool prints to, if it does, and its shell: one implementation a host.
//
// Threading: free functions without state.
#pragma once

#include <string>

namespace quillmark::control::host {

enum class Stream { Out, Error };

// Whether the stream is a terminal that understands escape sequences.
[[nodiscard]] bool IsTerminal(Stream stream);
// In characters; 80 when it cannot be known.
[[nodiscard]] int TerminalWidth();

// One word of a command as the host's shell takes it literally.
[[nodiscard]] std::string ShellQuoted(const std::string& word);

}  // namespace quillmark::control::host
