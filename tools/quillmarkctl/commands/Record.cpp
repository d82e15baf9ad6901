#include <stdexcept>
#include <string>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "commandline/SpecArguments.h"
#include "host/Interruption.h"
#include "replay/Recorder.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

constexpr char RecordNotes[] =
    "Saves frames of all monitors and the list of windows in the folder, for quillmarkctl replay, until the "
    "time is up or it is interrupted. No worker is needed. Specs are saved in the recording with "
    "copies of their images. The frames show everything on the screens: check them before you share a "
    "recording.\n"
    "With --on-hit or --on-near-miss, only the frames around that event are kept. A near miss is a "
    "rejected comparison whose difference was at most 1.5 times its limit.\n"
    "Exit codes: 0 recorded, 1 no hit or near miss, 2 usage error or failure.\n"
    "With --json, at the end: {\"type\":\"recording\", \"folder\":TEXT, \"frames\":N, \"ms\":N}";

struct RecordOptions {
  std::string out;
  double seconds = 10.0;
  SpecArguments spec;
  bool onHit = false, onNearMiss = false;
  std::size_t before = 10, after = 10;
};

replay::RecorderOptions RecorderOptionsOf(const RecordOptions& options) {
  replay::RecorderOptions recorder;
  recorder.folder = PathOf(options.out);
  recorder.mostMs = static_cast<std::int64_t>(options.seconds * 1000.0);
  recorder.framesBefore = options.before;
  recorder.framesAfter = options.after;
  if (options.onHit) recorder.trigger = replay::Trigger::Hit;
  if (options.onNearMiss) recorder.trigger = replay::Trigger::NearMiss;
  for (const Command& command : SpecCommands(options.spec)) {
    recorder.specs.push_back({command.target, command.name, client::ToUtf8(command.path),
                              cv::Rect(command.roiX, command.roiY, command.roiW, command.roiH),
                              command.edgeMin, command.threshold});
  }
  if (recorder.specs.empty() && recorder.trigger != replay::Trigger::None) {
    throw std::invalid_argument("--on-hit and --on-near-miss need a spec");
  }
  return recorder;
}

ExitCode RunRecord(const RecordOptions& options, Output& output) {
  const replay::RecorderOptions recorder = RecorderOptionsOf(options);
  const host::Interruption interruption;
  const replay::RecorderResult result = replay::Record(recorder, [&](std::int64_t tMs) {
    output.Bar().Show(tMs, recorder.mostMs);
    return !interruption.Came();
  });
  for (const std::string& note : result.notes) output.Note(note);
  if (recorder.trigger != replay::Trigger::None && !result.triggered) {
    return output.Fail(No, std::string("timed out: no ") + (options.onHit ? "hit" : "near miss"));
  }
  output.Print(
      {{"type", "recording"}, {"folder", options.out}, {"frames", result.frames}, {"ms", result.tMs}},
      Counted(result.frames, "frame") + " in " + options.out);
  return Yes;
}

}  // namespace

void AddRecord(CommandLine& line) {
  const auto [command, options] =
      line.Add<RecordOptions>("record", "Records the desktop for replay.", RunRecord);
  command.Add("--out", &options.out, "Folder for the recording, new or empty",
              {.value = "FOLDER", .required = true});
  command.Add("--seconds", &options.seconds, "Maximum duration (10)",
              {.value = "SECONDS", .within = {{0.1, 3600.0}}});
  command.Add("--on-hit", &options.onHit, "Keep only the frames around the first hit");
  command.Add("--on-near-miss", &options.onNearMiss, "Keep only the frames around the first near miss",
              {.excludes = {"--on-hit"}});
  command.Add("--before", &options.before, "Frames to keep before the event (10)",
              {.value = "N", .within = {{0, 100}}});
  command.Add("--after", &options.after, "Frames to keep after the event (10)",
              {.value = "N", .within = {{0, 100}}});
  AddSpecOptions(command, options.spec, SpecIs::Optional);
  AddSpecFileOptions(command, options.spec);
  command.notes = RecordNotes;
}

}  // namespace quillmark::control
