#include <cmath>
#include <stdexcept>
#include <string>

#include "client/WorkerProbe.h"
#include "doctor/Doctor.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

Check NoWorker() {
  return {.level = Level::Warning,
          .topic = "worker",
          .text = "no worker is running in this session",
          .consequence = "nothing is watched, and nobody takes commands",
          .remedy = "start Quillmark in this session",
          .facts = {{"running", false}}};
}

Check WithoutRings(const std::string& why) {
  return {.level = Level::Problem,
          .topic = "worker",
          .text = "a worker is running, but this tool cannot use its rings: " + why,
          .consequence = "no commands reach it from here, and no hits come back",
          .remedy = "end the worker and all controllers, then start the worker first",
          .facts = {{"running", true}}};
}

bool SessionHasWorker() {
  try {
    return client::WorkerProbe().Look().running;
  } catch (const std::runtime_error&) {
    return false;  // without a session folder, none can run
  }
}

}  // namespace

Checks ExamineWorker(std::chrono::milliseconds timeout, Output& output) {
  if (!SessionHasWorker()) return {NoWorker()};
  WorkerState state;
  try {
    state = LookAtWorker(timeout, output);
  } catch (const std::runtime_error& error) {
    return {WithoutRings(error.what())};
  }
  if (!state.running) return {NoWorker()};
  Check check{.topic = "worker", .facts = JsonOf(state)};
  if (state.answers) {
    const std::string version = state.version.empty() ? "unknown" : state.version;
    check.text =
        "worker version " + version + " replied in " + std::to_string(std::lround(state.roundTripMs)) + " ms";
    if (version == QUILLMARK_VERSION) return {check};
    check.level = Level::Warning;
    check.consequence = "this tool has version " QUILLMARK_VERSION ", so its explanations may be wrong";
    check.remedy = "install both from the same package";
  } else if (!state.hasReader && state.unreadHits > 0) {
    check.level = Level::Warning;
    check.text = "a worker is running; " + state.silence;
    check.consequence = "new hits and replies are dropped";
    check.remedy = "run quillmarkctl watch, or the controller that should read the hits";
  } else {
    check.level = Level::Problem;
    check.text = "a worker is running, but does not reply: " + state.silence;
    check.consequence = "it is stopped or busy";
    check.remedy = "check its log; restart it if this persists";
  }
  return {check};
}

}  // namespace quillmark::control
