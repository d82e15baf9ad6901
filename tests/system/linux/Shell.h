// Shell commands, for example to control the X desktop.
//
// Threading: any thread.
#pragma once

#include <string>

namespace quillmark::test {

// Runs a command and returns its output without the final line feed; empty when it fails.
std::string Shell(const std::string& commands);

}  // namespace quillmark::test
