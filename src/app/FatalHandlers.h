// The last line of defence around everything after the single-instance check: an exception that gets here
// is reported, the process lingers so that an operator can read it, and an exit code results.
#pragma once

#include <chrono>
#include <functional>

namespace quillmark {

// Runs the body and returns its result. After an exception: standard error, debugger output, the pause, and
// 1 for a std::exception, 2 for anything else. Threading: the calling thread runs the body.
int RunGuarded(const std::function<int()>& body,
               std::chrono::milliseconds pause = std::chrono::milliseconds(5000));

}  // namespace quillmark
