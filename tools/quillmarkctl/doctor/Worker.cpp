#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>

#include "client/WorkerProbe.h"
#include "doctor/Doctor.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

Finding NoWorker() {
  return {.level = Level::Warning,
          .topic = "worker",
          .text = "no worker runs in this session",
          .consequence = "nothing is watched; commands find nobody to take them",
          .remedy = "start Quillmark in this session",
          .facts = {{"running", false}}};
}

Finding WithoutRings(const std::string& why) {
  return {.level = Level::Problem,
          .topic = "worker",
          .text = "a worker runs, but not with rings that this tool can use: " + why,
          .consequence = "no command reaches it from here, and no hit comes back",
          .remedy = "end all controllers and the worker, and start the worker first",
          .facts = {{"running", true}}};
}

bool SessionHasWorker() {
  try {
    return client::WorkerProbe().Look().running;
  } catch (const std::runtime_error&) {
    return false;  // without a place for its objects none can run
  }
}

// Nothing, with the reason, where the rings cannot be opened.
std::optional<WorkerState> StateOfWorker(std::chrono::milliseconds timeout, Output& output,
                                         std::string& why) {
  try {
    return LookAtWorker(timeout, output);
  } catch (const std::runtime_error& error) {
    why = error.what();
    return std::nullopt;
  }
}

}  // namespace

Findings ExamineWorker(std::chrono::milliseconds timeout, Output& output) {
  if (!SessionHasWorker()) return {NoWorker()};
  std::string why;
  const std::optional<WorkerState> looked = StateOfWorker(timeout, output, why);
  if (!looked) return {WithoutRings(why)};
  const WorkerState& state = *looked;
  if (!state.running) return {NoWorker()};
  Finding finding{.topic = "worker", .facts = JsonOf(state)};
  if (state.answers) {
    const std::string version = state.version.empty() ? "unknown" : state.version;
    finding.text = "a worker of version " + version + " answered in " +
                   std::to_string(std::lround(state.roundTripMs)) + " ms";
    if (version == QUILLMARK_VERSION) return {finding};
    finding.level = Level::Warning;
    finding.consequence = "this tool is of version " QUILLMARK_VERSION ", so its explanations may not fit";
    finding.remedy = "install both from the same package";
  } else if (!state.hasReader && state.unreadHits > 0) {
    finding.level = Level::Warning;
    finding.text = "a worker runs; " + state.silence;
    finding.consequence = "further hits and replies are dropped";
    finding.remedy = "run quillmarkctl watch, or the controller that is to read the hits";
  } else {
    finding.level = Level::Problem;
    finding.text = "a worker runs, but does not answer: " + state.silence;
    finding.consequence = "it is stopped, or busy with something that takes long";
    finding.remedy = "look at its log; if it stays so, end it and start it again";
  }
  return {finding};
}

}  // namespace quillmark::control
