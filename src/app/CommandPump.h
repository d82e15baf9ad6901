// The main thread after start-up: brings up the rings and the engine, then executes the controller's
// commands every 50 ms until the process is ended from outside.
//
// Threading: the main thread; the commands' callbacks run on it.
#pragma once

#include <functional>

namespace quillmark {

// Returns 1 if the command ring can be neither opened nor created; otherwise never. Passes exceptions on
// after stopping the engine. `afterPoll`, if given, runs after every poll and can end the pump only with an
// exception.
[[nodiscard]] int RunCommandPump(const std::function<void()>& afterPoll = {});

}  // namespace quillmark
