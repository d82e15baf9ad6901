#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Interruption.h"
#include "client/Client.h"
#include "client/Text.h"
#include "client/Tracker.h"
#include "commandline/CommandLine.h"
#include "ipc/WallClock.h"
#include "output/HitLines.h"

namespace quillmark::control {
namespace {

using namespace std::chrono_literals;
using client::Record;

constexpr char Notes[] =
    "Exit codes: 0 it has happened, 1 it has not in time, 2 wrong use or error. Only hits from now on "
    "count.\n"
    "Not in time is no proof of absence: a screen that does not change gives no frames, hence no hits.\n"
    "While it waits, it takes the hits of all specs out of the ring, so no watch or other client can run.\n"
    "With --json: {\"type\":\"event\", \"event\":\"appeared|stable\", \"name\":TEXT, \"cx\":N, \"cy\":N, "
    "\"w\":N, \"h\":N, \"score\":N, \"edge\":N, \"ts\":N, \"stableMs\":N}, as in a hit; stableMs is how long "
    "it has kept its place.";

struct Options {
  std::string name;
  bool appear = false;
  double stableSeconds = 0.0;
  std::chrono::milliseconds timeout = std::chrono::milliseconds::max();
};

Hit HitOf(const Record& record) {
  Hit hit;
  hit.tsMs = record.tsMs;
  hit.cx = record.cx;
  hit.cy = record.cy;
  hit.w = record.w;
  hit.h = record.h;
  hit.sq = record.score;
  hit.edge = record.edge;
  hit.name = client::ToWide(record.name).value_or(std::wstring());
  return hit;
}

void Print(const client::Event& event, Output& output) {
  const bool stable = event.kind == client::Event::Kind::Stable;
  Json object = {{"type", "event"}, {"event", stable ? "stable" : "appeared"}};
  const Hit hit = HitOf(event.hit);
  Json fields = JsonOf(hit);
  fields.erase("type");
  object.update(fields);
  object["stableMs"] = event.stableMs;
  output.Print(object, LineOf(hit) + (stable ? "  stable" : ""));
}

// What became of the worker while nothing came.
void Tell(const Record& record, Output& output) {
  if (record.kind == Record::Kind::WorkerGone) output.Note("the worker has gone; waiting for the next one");
  if (record.kind == Record::Kind::WorkerStarted) output.Note("a worker has started; it knows no spec");
  if (record.kind == Record::Kind::Dropped) output.Note("the ring was full; hits were lost");
}

ExitCode Wait(const Options& options, Output& output) {
  using Clock = std::chrono::steady_clock;
  (void)client::NonEmptyField("NAME", options.name, client::HitNameUnits);
  client::Client worker;
  if (!worker.Look().workerRunning) output.Note("no worker runs yet");
  client::Watch watch{.name = options.name, .witnesses = {}};
  watch.stableMs = static_cast<std::uint32_t>(options.stableSeconds * 1000.0);
  // However long it takes: only hits decide here.
  watch.unknownMs = 0;
  client::Tracker tracker;
  tracker.Begin(watch);
  const auto wanted = watch.stableMs != 0 ? client::Event::Kind::Stable : client::Event::Kind::Appeared;

  const Interruption interruption;
  const bool endless = options.timeout == std::chrono::milliseconds::max();
  const auto deadline = endless ? Clock::time_point::max() : Clock::now() + options.timeout;
  std::array<Record, 64> records;
  while (!interruption.Came() && Clock::now() < deadline) {
    const std::size_t count = worker.Read(records, std::min(deadline, Clock::now() + 100ms));
    for (std::size_t i = 0; i < count; ++i) {
      Tell(records[i], output);
      for (const client::Event& event : tracker.Feed(records[i])) {
        if (event.kind != wanted) continue;
        Print(event, output);
        return Yes;
      }
    }
  }
  if (interruption.Came()) return output.Fail(No, "interrupted");
  switch (tracker.Of(options.name)) {
    case client::Sight::Present:
      return output.Fail(No, options.name + " was seen, but not at one place for so long");
    default:
      return output.Fail(No, "no hit of " + options.name +
                                 " came in time; explain says why, and a still screen gives no hits");
  }
}

}  // namespace

void AddWait(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  CommandModel& command = line.Add("wait", "Waits until a spec's object appears, or stands still.",
                                   [options](Output& output) { return Wait(*options, output); });
  command.Add("NAME", &options->name, "Name of the spec, without its options", {.required = true});
  command.Add("--appear", &options->appear, "Until the next hit (the default)");
  command.Add("--stable", &options->stableSeconds, "Until its hits have kept their place for so long",
              {.value = "SECONDS", .within = {{0.001, 1e6}}, .excludes = {"--appear"}});
  AddTimeout(command, options->timeout, "Give up after so many seconds (never)");
  command.notes = Notes;
}

}  // namespace quillmark::control
