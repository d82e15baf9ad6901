#include <algorithm>
#include <array>
#include <chrono>
#include <string>

#include "client/Client.h"
#include "client/Text.h"
#include "client/Tracker.h"
#include "commandline/CommandLine.h"
#include "host/Interruption.h"
#include "output/HitLines.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

using namespace std::chrono_literals;

constexpr char WaitNotes[] =
    "Exit codes: 0 seen, 1 timed out, 2 usage error or failure. Only hits from now on count.\n"
    "A timeout does not prove it is absent: an unchanged screen delivers no frames, hence no hits.\n"
    "While it waits, it consumes the hits of all specs, so no watch or other client can run.\n"
    "With --json: {\"type\":\"event\", \"event\":\"appeared|stable\", \"name\":TEXT, \"cx\":N, \"cy\":N, "
    "\"w\":N, \"h\":N, \"score\":N, \"edge\":N, \"ts\":N, \"stableMs\":N}, as in a hit; stableMs is how long "
    "it has stayed put.";

struct WaitOptions {
  std::string name;
  bool appear = false;
  double stableSeconds = 0.0;
  std::chrono::milliseconds timeout = std::chrono::milliseconds::max();
};

void Print(const client::Event& event, Output& output) {
  const bool stable = event.kind == client::Event::Kind::Stable;
  Json object = {{"type", "event"}, {"event", stable ? "stable" : "appeared"}};
  Json fields = JsonOf(event.hit);
  fields.erase("type");
  object.update(fields);
  object["stableMs"] = event.stableMs;
  output.Print(object, LineOf(event.hit) + (stable ? "  stable" : ""));
}

// Prints what may explain the absence of hits.
void Report(const Record& record, Output& output) {
  if (record.kind == Record::Kind::WorkerGone) output.Note(WorkerGone);
  if (record.kind == Record::Kind::WorkerStarted) output.Note(WorkerStarted);
  if (record.kind == Record::Kind::Dropped) output.Note("the ring was full; hits were lost");
}

ExitCode Wait(const WaitOptions& options, Output& output) {
  (void)client::NonEmptyField("NAME", options.name, client::HitNameUnits);
  client::Client worker;
  if (!worker.Look().workerRunning) output.Note(NoWorkerYet);
  client::Watch watch{.name = options.name, .witnesses = {}};
  watch.stableMs = static_cast<std::uint32_t>(options.stableSeconds * 1000.0);
  watch.unknownMs = 0;  // only hits count here
  client::Tracker tracker;
  tracker.Begin(watch);
  const auto wanted = watch.stableMs != 0 ? client::Event::Kind::Stable : client::Event::Kind::Appeared;

  const host::Interruption interruption;
  const bool endless = options.timeout == std::chrono::milliseconds::max();
  const auto deadline = endless ? Clock::time_point::max() : Clock::now() + options.timeout;
  std::array<Record, 64> records;
  while (!interruption.Came() && Clock::now() < deadline) {
    const std::size_t count = worker.Read(records, std::min(deadline, Clock::now() + 100ms));
    for (std::size_t i = 0; i < count; ++i) {
      Report(records[i], output);
      for (const client::Event& event : tracker.Feed(records[i])) {
        if (event.kind != wanted) continue;
        Print(event, output);
        return Yes;
      }
    }
  }
  if (interruption.Came()) return output.Fail(No, "interrupted");
  const std::string timedOut = "timed out: \"" + options.name + "\" ";
  return output.Fail(No, tracker.Of(options.name) == client::Sight::Present
                             ? timedOut + "was seen, but did not stay put long enough"
                             : timedOut + "was not seen; run `quillmarkctl explain` to see why");
}

}  // namespace

void AddWait(CommandLine& line) {
  const auto [command, options] =
      line.Add<WaitOptions>("wait", "Waits until a template appears or stays put.", Wait);
  command.Add("NAME", &options.name, "Name of the spec without its options", {.required = true});
  command.Add("--appear", &options.appear, "Wait for the next hit (the default)");
  command.Add("--stable", &options.stableSeconds,
              "Wait until its hits have stayed at one place for this long",
              {.value = "SECONDS", .within = {{0.001, 1e6}}, .excludes = {"--appear"}});
  AddTimeout(command, options.timeout, "Maximum seconds to wait (no limit)");
  command.notes = WaitNotes;
}

}  // namespace quillmark::control
