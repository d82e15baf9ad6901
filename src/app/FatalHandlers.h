// Guards everything after the single-instance check: an exception is reported, the process waits so that an
// operator can read the report, and then exits with a code.
#pragma once

#include <chrono>
#include <functional>

namespace quillmark {

// Runs the body and returns its result. Reports an exception on standard error and to the debugger, pauses,
// and returns 1 for a std::exception, 2 for anything else. Threading: the body runs on the calling thread.
int RunGuarded(const std::function<int()>& body,
               std::chrono::milliseconds pause = std::chrono::milliseconds(5000));

}  // namespace quillmark
