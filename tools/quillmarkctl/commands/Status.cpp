#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <thread>

#include "Interruption.h"
#include "commandline/CommandLine.h"
#include "ipc/WallClock.h"
#include "ipc/WireFormat.h"
#include "output/HitLines.h"
#include "text/Wording.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

using namespace std::chrono_literals;

constexpr char Notes[] =
    "Exit code 0 when a worker runs and answers, 1 when not. With --follow it looks on without asking, "
    "prints a line when a worker starts or goes, when commands are not taken any more, when hits are dropped "
    "and when a reader of the hits comes or goes, and counts the starts it has seen.\n"
    "Unread hits with a reader, or unread commands that go down, are no cause for worry.\n"
    "With --json: {\"type\":\"status\", \"running\":B, \"answers\":B, \"silence\":TEXT, \"roundTripMs\":N, "
    "\"version\":TEXT, \"process\":N, \"startedTs\":N, \"unreadCommands\":N, \"unreadHits\":N, "
    "\"droppedHits\":N, \"hasReader\":B, \"reasons\":[CODE, ...]}; fields that cannot be known are left out. "
    "With --follow {\"type\":\"news\", \"ts\":N, \"text\":TEXT, \"starts\":N, ...} with the same fields.";

struct Options {
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
  const auto row = [](const std::string& head, const std::string& text) { return head + text; };
  std::string worker = output.Styled(state.answers ? Style::Good : Style::Bad,
                                     state.running ? state.answers ? "answers" : "does not answer" : "none");
  if (state.answers) worker += " in " + std::to_string(std::lround(state.roundTripMs)) + " ms";
  if (state.running && !state.answers) worker += ": " + state.silence;
  if (state.process != 0) worker += ", process " + std::to_string(state.process);
  if (state.startedMs != 0) worker += ", started " + Ago(state.startedMs) + " ago";
  const std::string slots = std::to_string(RingSlots);
  std::string text = row("worker    ", worker);
  if (!state.version.empty()) text += row("\nversion   ", state.version);
  text += row("\ncommands  ", std::to_string(state.unreadCommands) + " of " + slots + " unread");
  text += row("\nhits      ", std::to_string(state.unreadHits) + " of " + slots + " unread, " +
                                  (state.hasReader ? "with a reader" : "nobody reads them"));
  text += row("\ndropped   ", Counted(state.droppedHits, "hit") + " since the ring was made");
  for (const explain::Reason reason : state.reasons) {
    text += row("\nsilence   ",
                std::string(explain::CodeOf(reason)) + ": " + std::string(explain::EntryOf(reason).meaning));
  }
  return text;
}

// Compares two looks and tells what became of the worker in between.
class Follower {
 public:
  explicit Follower(Output& toOutput) : output(toOutput) {}

  void Look() {
    const WorkerState now = GlanceAtWorker();
    if (!known) {
      Tell(now, now.running ? "a worker runs" : "no worker runs");
    } else {
      Compare(now);
    }
    last = now;
    known = true;
  }

 private:
  void Compare(const WorkerState& now) {
    const bool other = now.identity != last.identity && now.identity != 0;
    if (now.running && (!last.running || other)) {
      ++starts;
      Tell(now, "a worker has started; it knows no spec");
    } else if (last.running && !now.running) {
      Tell(now, "the worker has gone");
    }
    if (now.droppedHits != last.droppedHits) {
      Tell(now, Counted(now.droppedHits - last.droppedHits, "hit") + " dropped: the ring is full");
    }
    if (now.hasReader != last.hasReader) {
      Tell(now, now.hasReader ? "a reader of the hits has come" : "the reader of the hits has gone");
    }
    // The worker looks for commands every 50 ms.
    const bool waits = now.running && now.unreadCommands != 0 && now.unreadCommands >= last.unreadCommands &&
                       last.unreadCommands != 0;
    if (waits && !stalled) Tell(now, Counted(now.unreadCommands, "command") + " not taken for a second");
    stalled = waits;
  }

  void Tell(const WorkerState& state, const std::string& text) {
    const std::uint64_t now = WallClockMs();
    Json object = {{"type", "news"}, {"ts", now}, {"text", text}, {"starts", starts}};
    object.update(JsonOf(state));
    output.Print(object, UtcTime(now) + "  " + text);
  }

  Output& output;
  WorkerState last;
  bool known = false, stalled = false;
  int starts = 0;
};

ExitCode Status(const Options& options, Output& output) {
  if (options.follow) {
    constexpr auto Interval = 1000ms, Pause = 100ms;
    const Interruption interruption;
    output.Bar().End();  // it has no end
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
  const auto options = std::make_shared<Options>();
  CommandModel& command =
      line.Add("status", "Tells whether a worker lives, its version, and how full the rings are.",
               [options](Output& output) { return Status(*options, output); });
  command.Add("--follow", &options->follow, "Look on until interrupted, and tell what changes");
  AddTimeout(command, options->timeout);
  command.notes = Notes;
}

}  // namespace quillmark::control
