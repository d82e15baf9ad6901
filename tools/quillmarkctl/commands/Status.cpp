#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <thread>

#include "client/WorkerProbe.h"
#include "commandline/CommandLine.h"
#include "host/Interruption.h"
#include "ipc/WallClock.h"
#include "ipc/WireFormat.h"
#include "text/Wording.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

using namespace std::chrono_literals;

constexpr char StatusNotes[] =
    "Exit codes: 0 a worker is running and replies, 1 otherwise, 2 usage error or failure.\n"
    "--follow sends no commands. It prints a line when a worker or a reader of the hits starts or ends, and "
    "when the worker stops taking commands or drops hits. It counts the starts.\n"
    "Unread hits are normal while a reader is running; for unread commands, a falling count is normal.\n"
    "With --json: {\"type\":\"status\", \"running\":B, \"answers\":B, \"silence\":TEXT, \"roundTripMs\":N, "
    "\"version\":TEXT, \"process\":N, \"startedTs\":N, \"unreadCommands\":N, \"unreadHits\":N, "
    "\"droppedHits\":N, \"hasReader\":B, \"reasons\":[CODE, ...]}; unknown fields are left out. With "
    "--follow: {\"type\":\"news\", \"ts\":N, \"text\":TEXT, \"starts\":N, ...}, with the same fields.";

struct StatusOptions {
  std::chrono::milliseconds timeout = DefaultTimeout;
  bool follow = false;
};

std::string Ago(std::uint64_t sinceMs) {
  const std::uint64_t seconds = (WallClockMs() - sinceMs) / 1000;
  if (seconds < 120) return std::to_string(seconds) + " s";
  if (seconds < 120 * 60) return std::to_string(seconds / 60) + " min";
  return std::to_string(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min";
}

std::string TextOf(const WorkerState& state, const Output& output) {
  std::string worker =
      output.Styled(state.answers ? Style::Good : Style::Bad, state.answers   ? "running"
                                                              : state.running ? "not replying"
                                                                              : "none");
  if (state.answers) worker += ", replied in " + std::to_string(std::lround(state.roundTripMs)) + " ms";
  if (state.running && !state.answers) worker += ": " + state.silence;
  if (state.process != 0) worker += ", process " + std::to_string(state.process);
  if (state.startedMs != 0) worker += ", started " + Ago(state.startedMs) + " ago";
  const std::string slots = std::to_string(RingSlots);
  std::string text = "worker    " + worker;
  if (!state.version.empty()) text += "\nversion   " + state.version;
  text += "\ncommands  " + std::to_string(state.unreadCommands) + " of " + slots + " unread";
  text += "\nhits      " + std::to_string(state.unreadHits) + " of " + slots + " unread, " +
          (state.hasReader ? "with a reader" : "no reader");
  text += "\ndropped   " + Counted(state.droppedHits, "hit") + " since the ring was created";
  for (const reasons::Reason reason : state.reasons) {
    const reasons::ReasonEntry& entry = reasons::EntryOf(reason);
    text += "\nsilence   " + std::string(entry.code) + ": " + std::string(entry.meaning);
  }
  return text;
}

// Prints what has changed since the last look.
class Follower {
 public:
  explicit Follower(Output& toOutput) : output(toOutput) {}

  void Look() {
    const WorkerState now = GlanceAtWorker();
    const client::WorkerSight sight{now.running, now.identity};
    if (!workers) {
      workers.emplace(sight);
      Report(now, now.running ? "a worker is running" : "no worker is running");
    } else {
      Compare(now, workers->Add(sight));
    }
    last = now;
  }

 private:
  void Compare(const WorkerState& now, const client::WorkerNews& news) {
    if (news.started) ++starts;
    if (news.started) Report(now, WorkerStarted);
    if (news.gone) Report(now, WorkerGone);
    if (now.droppedHits != last.droppedHits) {
      Report(now, Counted(now.droppedHits - last.droppedHits, "hit") + " dropped: the ring is full");
    }
    if (now.hasReader != last.hasReader) {
      Report(now, now.hasReader ? "a reader of the hits has started" : "the reader of the hits has ended");
    }
    // The worker takes commands every 50 ms.
    const bool waits = now.running && now.unreadCommands != 0 && now.unreadCommands >= last.unreadCommands &&
                       last.unreadCommands != 0;
    if (waits && !stalled) Report(now, Counted(now.unreadCommands, "command") + " not taken for a second");
    stalled = waits;
  }

  void Report(const WorkerState& state, const std::string& text) {
    const std::uint64_t now = WallClockMs();
    Json object = {{"type", "news"}, {"ts", now}, {"text", text}, {"starts", starts}};
    object.update(JsonOf(state));
    output.Print(object, UtcTime(now) + "  " + text);
  }

  Output& output;
  WorkerState last;
  std::optional<client::WorkerHistory> workers;
  bool stalled = false;
  int starts = 0;
};

ExitCode Status(const StatusOptions& options, Output& output) {
  if (options.follow) {
    constexpr auto Interval = 1000ms, Pause = 100ms;
    const host::Interruption interruption;
    output.Bar().End();
    Follower follower(output);
    while (!interruption.Came()) {
      follower.Look();
      for (auto waited = 0ms; waited < Interval && !interruption.Came(); waited += Pause) {
        std::this_thread::sleep_for(Pause);
      }
    }
    return Yes;
  }
  const WorkerState state = LookAtWorker(options.timeout, output);
  Json object = {{"type", "status"}};
  object.update(JsonOf(state));
  output.Print(object, TextOf(state, output));
  return state.answers ? Yes : No;
}

}  // namespace

void AddStatus(CommandLine& line) {
  const auto [command, options] = line.Add<StatusOptions>(
      "status", "Shows whether the worker is running, its version, and how full the rings are.", Status);
  command.Add("--follow", &options.follow, "Keep watching and print changes");
  AddTimeout(command, options.timeout);
  command.notes = StatusNotes;
}

}  // namespace quillmark::control
