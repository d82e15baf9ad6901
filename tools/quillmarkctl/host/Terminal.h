// The terminal that the tool may print to, and its shell: one implementation per host.
//
// Threading: free functions without state.
#pragma once

#include <string>

namespace quillmark::control::host {

enum class Stream { Out, Error };

// Whether the stream is a terminal that understands escape sequences.
[[nodiscard]] bool IsTerminal(Stream stream);
// The terminal's width in characters; 80 if unknown.
[[nodiscard]] int TerminalWidth();

// One word of a command line, quoted for the host's shell.
[[nodiscard]] std::string ShellQuoted(const std::string& word);

}  // namespace quillmark::control::host
