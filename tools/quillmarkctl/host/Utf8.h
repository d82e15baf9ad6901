// UTF-8 at the tool's own ends: its arguments and what it prints. One implementation a host.
//
// Threading: from the main thread, before any other begins.
#pragma once

#include <string>
#include <vector>

namespace quillmark::control::host {

// The command line, program name first.
[[nodiscard]] std::vector<std::string> Arguments(int argc, const char* const* argv);

// Has the terminal show what std::cout and std::cerr are given, UTF-8, whatever it reads by itself. Files and
// pipes get those bytes as they are.
void PrintUtf8();

}  // namespace quillmark::control::host
