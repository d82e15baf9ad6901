// What the doctor checks on every host.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <string>

#include "host/Check.h"
#include "output/Output.h"

namespace quillmark::control {

using host::Check;
using host::Checks;
using host::Level;

// Each monitor, with an attempt to capture it as the worker would.
[[nodiscard]] Checks ExamineMonitors();

// The windows that can be targets now.
[[nodiscard]] Check ExamineWindows();
// The windows that match a target's text, the one that the worker takes, and how much of it is visible. Sets
// `matched` if there is one. Raises std::invalid_argument when the text does not fit a spec.
[[nodiscard]] Checks ExamineTarget(const std::string& target, bool& matched);

// Whether a worker is running and replies, its version, and the state of the rings. Sends it a heartbeat and
// a version command.
[[nodiscard]] Checks ExamineWorker(std::chrono::milliseconds timeout, Output& output);

}  // namespace quillmark::control
