// Command lines of the shell, for tests that ask the programs of the X desktop.
//
// Threading: any thread.
#pragma once

#include <string>

namespace quillmark::test {

// Runs a command line and returns its output without the last line feed; empty when it failed.
std::string Shell(const std::string& commands);

}  // namespace quillmark::test
