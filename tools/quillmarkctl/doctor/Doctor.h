// The parts of the doctor's examination that are the same on every host.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <string>

#include "doctor/Finding.h"
#include "output/Output.h"

namespace quillmark::control {

// Each monitor, with an attempt to capture it as the worker would.
[[nodiscard]] Findings ExamineMonitors();

// The windows that can be targets now.
[[nodiscard]] Finding ExamineWindows();
// Which windows a target's text matches, which one the worker takes, and how much of that one is to be seen.
// Raises std::invalid_argument when the text does not fit a spec.
// `matched` tells whether there is a window.
[[nodiscard]] Findings ExamineTarget(const std::string& target, bool& matched);

// Whether a worker runs and answers, its version, and the state of the rings. Changes no ring but by one
// heartbeat and one version command and their replies.
[[nodiscard]] Findings ExamineWorker(std::chrono::milliseconds timeout, Output& output);

}  // namespace quillmark::control
