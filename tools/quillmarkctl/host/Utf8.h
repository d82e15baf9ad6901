// UTF-8 for the tool's arguments and output: one implementation per host.
//
// Threading: the main thread, before others start.
#pragma once

#include <string>
#include <vector>

namespace quillmark::control::host {

// The command line, program name first.
[[nodiscard]] std::vector<std::string> Arguments(int argc, const char* const* argv);

// Makes the terminal show what std::cout and std::cerr get as UTF-8, whatever its code page. Files and pipes
// get the bytes unchanged.
void PrintUtf8();

}  // namespace quillmark::control::host
