#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

#include "client/WorkerProbe.h"
#include "commandline/CommandLine.h"
#include "host/Interruption.h"
#include "output/HitLines.h"
#include "text/Wording.h"
#include "worker/Requests.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

using namespace std::chrono_literals;

constexpr auto RolePatience = 3s;

constexpr char WatchNotes[] =
    "Only one watch can run at a time. It starts with the unread records in the ring, and reports when a "
    "worker starts or ends.\n"
    "Exit codes: 0 interrupted or enough hits, 1 timed out, 2 usage error, failure or another watch.\n"
    "With --json, one object per line:\n"
    "  {\"type\":\"hit\", \"name\":TEXT, \"cx\":N, \"cy\":N, \"w\":N, \"h\":N, \"score\":N, \"edge\":N, "
    "\"ts\":N}\n"
    "  {\"type\":\"reply\", \"text\":TEXT, \"ts\":N}  reply to a heartbeat or version command\n"
    "  {\"type\":\"dropped\", \"count\":N, \"total\":N}  hits lost because the ring was full\n"
    "cx and cy are the centre of the match in pixels of the target's client area, w and h its size; score "
    "and edge are 1 for a perfect match; ts is UTC in milliseconds since 1970-01-01.";

struct WatchOptions {
  std::uint32_t count = 0;  // hits to print, 0 for no limit
  std::chrono::milliseconds timeout = std::chrono::milliseconds::max();
};

// Prints and consumes the unread records, up to `count` hits.
void TakeUnread(HitReader& hits, std::uint32_t count, std::uint32_t& found, Output& output) {
  const std::uint32_t written = hits.WriteIndex();
  std::uint32_t next = hits.ReadIndex();
  if (written - next > RingSlots) {
    output.Note("the hit ring's indices are inconsistent; continuing with its newest records");
    next = written - RingSlots;
  }
  while (next != written && (count == 0 || found < count)) {
    const std::optional<client::Record> hit = hits.Peek(next++);
    if (!hit) continue;
    if (hit->kind == client::Record::Kind::Hit) ++found;
    output.Print(JsonOf(*hit), LineOf(*hit));
  }
  hits.ConsumeUpTo(next);
}

void ReportDropped(const HitReader& hits, std::uint32_t& known, Output& output) {
  const std::uint32_t total = hits.Dropped();
  const std::uint32_t more = total - known;
  known = total;
  if (more == 0) return;
  if (!output.IsJson()) return output.Note("the ring was full; the worker dropped " + Counted(more, "hit"));
  output.Print({{"type", "dropped"}, {"count", more}, {"total", total}}, {});
}

ExitCode Watch(const WatchOptions& options, Output& output) {
  HitReader hits;
  // A ping holds the role for a moment, another watch until it ends.
  const HitConsumer consumer(Clock::now() + RolePatience);
  if (!consumer.Held()) {
    return output.Fail(Error, "another watch or client is reading the hits; only one can");
  }
  const host::Interruption interruption;
  output.Bar().End();

  const bool endless = options.timeout == std::chrono::milliseconds::max();
  const Deadline deadline = endless ? Deadline::max() : Clock::now() + options.timeout;
  std::uint32_t found = 0;
  std::uint32_t dropped = hits.Dropped();
  const client::WorkerProbe probe;
  client::WorkerHistory workers(probe.Look());
  if (!workers.Last().running) output.Note(NoWorkerYet);
  Clock::time_point nextLook{};
  while (!interruption.Came()) {
    TakeUnread(hits, options.count, found, output);
    ReportDropped(hits, dropped, output);
    if (Clock::now() >= nextLook) {
      nextLook = Clock::now() + 500ms;
      const client::WorkerNews news = workers.Add(probe.Look());
      if (news.gone) output.Note(WorkerGone);
      if (news.started) output.Note(WorkerStarted);
    }
    if (options.count != 0 && found == options.count) return Yes;
    const auto left = deadline - Clock::now();
    if (left <= 0ms) break;
    hits.Wait(static_cast<std::uint32_t>(
        std::min<std::int64_t>(100, std::chrono::ceil<std::chrono::milliseconds>(left).count())));
  }
  if (interruption.Came()) return Yes;
  return found != 0 && options.count == 0 ? Yes : No;
}

}  // namespace

void AddWatch(CommandLine& line) {
  const auto [command, options] = line.Add<WatchOptions>(
      "watch", "Prints hits until interrupted, and removes them from the ring.", Watch);
  command.notes = WatchNotes;
  command.Add("--count", &options.count, "Stop after N hits, with exit code 0",
              {.value = "N", .within = {{1, 1'000'000'000}}});
  AddTimeout(command, options.timeout,
             "Stop after this many seconds; exit code 1 without a hit, or with fewer than --count");
}

}  // namespace quillmark::control
