// The main thread after start-up: brings up the rings and the engine, then executes the controller's
// commands every 50 ms until the process is ended from outside.
//
// Threading: the main thread; the commands' callbacks run on it.
#pragma once

#include <functional>

namespace quillmark {

// Returns 1 when the command ring can be neither opened nor created, else never. Exceptions of the start-up
// and of the pump leave it; the engine is stopped in order before they do. `afterPoll`, if given, runs after
// every poll: an exception is its only way to end the pump.
[[nodiscard]] int RunCommandPump(const std::function<void()>& afterPoll = {});

}  // namespace quillmark
