#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Interruption.h"
#include "client/WorkerProbe.h"
#include "commandline/CommandLine.h"
#include "output/HitLines.h"
#include "worker/Requests.h"

namespace quillmark::control {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto RolePatience = 3s;

constexpr char Notes[] =
    "One watch can run at a time. It begins with what lies unread in the ring, and notes when the worker "
    "goes or another starts.\n"
    "Exit codes: 0 interrupted, or there was what was asked for; 1 not in time; 2 wrong use, error or "
    "another watch.\n"
    "With --json each line is one object:\n"
    "  {\"type\":\"hit\", \"name\":TEXT, \"cx\":N, \"cy\":N, \"w\":N, \"h\":N, \"score\":N, \"edge\":N, "
    "\"ts\":N}\n"
    "  {\"type\":\"reply\", \"text\":TEXT, \"ts\":N}  answer to a heartbeat or version command\n"
    "  {\"type\":\"dropped\", \"count\":N, \"total\":N}  hits refused because the ring was full\n"
    "cx and cy are the centre of the match in pixels of the target's client area, w and h its size; score "
    "and edge are 1 for a perfect match; ts is UTC in milliseconds since 1970-01-01.";

struct Options {
  std::uint32_t count = 0;  // hits to print before it ends, 0 for no limit
  std::chrono::milliseconds timeout = std::chrono::milliseconds::max();  // none: until interrupted
};

// Prints what lies unread, up to the count of hits, and takes it.
void TakeUnread(HitReader& hits, std::uint32_t count, std::uint32_t& found, Output& output) {
  const std::uint32_t written = hits.WriteIndex();
  std::uint32_t next = hits.ReadIndex();
  if (written - next > RingSlots) {
    output.Note("the hit ring's indices are out of step; continuing with its newest records");
    next = written - RingSlots;
  }
  while (next != written && (count == 0 || found < count)) {
    const std::optional<Hit> hit = hits.Peek(next++);
    if (!hit) continue;
    if (!hit->IsReply()) ++found;
    output.Print(JsonOf(*hit), LineOf(*hit));
  }
  hits.ConsumeUpTo(next);
}

void TellDropped(const HitReader& hits, std::uint32_t& known, Output& output) {
  const std::uint32_t total = hits.Dropped();
  const std::uint32_t more = total - known;
  known = total;
  if (more == 0) return;
  if (!output.IsJson())
    return output.Note("the ring was full; the worker dropped " + std::to_string(more) + " hits");
  output.Print({{"type", "dropped"}, {"count", more}, {"total", total}}, {});
}

// Tells what becomes of the worker, which explains a silence.
class WorkerNews {
 public:
  explicit WorkerNews(Output& toOutput) : output(toOutput), last(probe.Look()) {
    if (!last.running) output.Note("no worker runs yet");
  }

  void Look() {
    if (Clock::now() < next) return;
    next = Clock::now() + 500ms;
    const client::WorkerSight now = probe.Look();
    const bool another = now.identity != 0 && last.identity != 0 && now.identity != last.identity;
    if (last.running && !now.running) output.Note("the worker has gone");
    if (now.running && (!last.running || another)) output.Note("a worker has started; it knows no spec");
    last.running = now.running;
    if (now.identity != 0) last.identity = now.identity;
  }

 private:
  Output& output;
  const client::WorkerProbe probe;
  client::WorkerSight last;
  Clock::time_point next{};
};

// Takes the hits out of the ring and prints them; SIGINT and SIGTERM end it in order.
ExitCode Watch(const Options& options, Output& output) {
  HitReader hits;
  // A heartbeat holds the role for a moment, another watch for good.
  const HitConsumer consumer(Clock::now() + RolePatience);
  if (!consumer.Held()) {
    return output.Fail(Error, "another quillmarkctl watch is reading the hits; only one can");
  }
  const Interruption interruption;
  output.Bar().End();  // it has no end

  const bool endless = options.timeout == std::chrono::milliseconds::max();
  const Deadline deadline = endless ? Deadline::max() : Clock::now() + options.timeout;
  std::uint32_t found = 0;
  std::uint32_t dropped = hits.Dropped();
  WorkerNews news(output);
  while (!interruption.Came()) {
    TakeUnread(hits, options.count, found, output);
    TellDropped(hits, dropped, output);
    news.Look();
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
  const auto options = std::make_shared<Options>();
  CommandModel& command =
      line.Add("watch", "Takes the hits out of the ring and prints them, until interrupted.",
               [options](Output& output) { return Watch(*options, output); });
  command.notes = Notes;
  command.Add("--count", &options->count, "End with exit code 0 after so many hits",
              {.value = "N", .within = {{1, 1'000'000'000}}});
  AddTimeout(command, options->timeout,
             "End after so many seconds: exit code 1 when there was no hit, or fewer than --count");
}

}  // namespace quillmark::control
