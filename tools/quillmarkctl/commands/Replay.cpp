#include "replay/Replay.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "host/Files.h"
#include "reasons/Reasons.h"
#include "replay/Expectations.h"
#include "replay/JsonFields.h"
#include "replay/Recording.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

using replay::Recording;
using replay::ReplayedHit;
using replay::ReplayResult;
using replay::SpecResult;

constexpr char ReplayNotes[] =
    "The folder contains recording.json and its frames, as quillmarkctl record writes them; see "
    "docs/replay.md. "
    "The output for a folder is always the same, bit for bit.\n"
    "Exit codes: 0 at least one hit, or as expected; 1 no hit, or not as expected; 2 usage error or "
    "failure.\n"
    "With --json, one object per line:\n"
    "  {\"type\":\"hit\", \"t\":N, \"monitor\":ID, \"frame\":FILE, \"name\":TEXT, \"cx\":N, \"cy\":N, "
    "\"w\":N, \"h\":N, \"score\":N, \"edge\":N, \"ts\":N}\n"
    "  {\"type\":\"spec\", \"name\":TEXT, \"hits\":N, \"silence\":CODE, \"reasons\":{CODE:N}, "
    "\"nearest\":{\"t\":N, \"frame\":FILE, \"reason\":CODE, \"difference\":N, \"limit\":N}}  silence: only "
    "without hits\n"
    "  {\"type\":\"fault\", \"text\":TEXT}  a frame that cannot be used\n"
    "  {\"type\":\"difference\", \"text\":TEXT}  with --check: a deviation\n"
    "  {\"type\":\"replay\", \"hits\":N, \"frames\":N, \"taken\":N, \"as-expected\":BOOL}  the last line";

std::string Seconds(std::int64_t tMs) {
  char text[32];
  std::snprintf(text, sizeof text, "%8.3f s", static_cast<double>(tMs) / 1000.0);
  return text;
}

std::string Figures(double first, const char* between, double second) {
  char text[96];
  std::snprintf(text, sizeof text, "%.3f%s%.3f", first, between, second);
  return text;
}

void PrintHit(const Recording& recording, const ReplayedHit& replayed, Output& output) {
  const HitRecord& hit = replayed.hit;
  const replay::RecordedFrame& frame = recording.frames[replayed.frame];
  const std::string name = client::ToUtf8(hit.name);
  const std::string& monitor = recording.monitors[frame.monitor].id;
  const std::string shown = Printable(hit.name);
  const std::string size = std::to_string(hit.w) + "x" + std::to_string(hit.h);
  output.Print({{"type", "hit"},
                {"t", replayed.tMs},
                {"monitor", monitor},
                {"frame", frame.file},
                {"name", name},
                {"cx", hit.cx},
                {"cy", hit.cy},
                {"w", hit.w},
                {"h", hit.h},
                {"score", replay::Shortest(hit.sq)},
                {"edge", replay::Shortest(hit.edge)},
                {"ts", hit.tsMs}},
               Seconds(replayed.tMs) + "  " + shown + "  at " + std::to_string(hit.cx) + "," +
                   std::to_string(hit.cy) + "  size " + size + "  score " +
                   Figures(hit.sq, "  edge ", hit.edge) + "  in " + frame.file);
}

void PrintSpec(const Recording& recording, const SpecResult& spec, Output& output) {
  const std::string name = client::ToUtf8(spec.name);
  Json json{{"type", "spec"}, {"name", name}, {"hits", spec.hits}};
  const std::string shown = Printable(spec.name);
  std::string text = shown + ": " + Counted(spec.hits, "hit");
  if (const auto silence = spec.Silence()) {
    const reasons::ReasonEntry& entry = reasons::EntryOf(*silence);
    json["silence"] = entry.code;
    text =
        output.Wrapped(shown + ": no hit, " + std::string(entry.code) + ". " + std::string(entry.meaning), 0);
  }
  Json reasons = Json::object();
  std::string counts;
  for (const auto& [reason, count] : spec.silences) {
    const std::string code(reasons::CodeOf(reason));
    reasons[code] = count;
    counts += (counts.empty() ? "" : ", ") + code + " " + std::to_string(count);
  }
  json["reasons"] = reasons;
  if (!counts.empty()) text += "\n    " + output.Wrapped("evaluations without a hit: " + counts, 4);
  if (const auto& nearest = spec.nearestMiss) {
    const std::string& file = recording.frames[nearest->frame].file;
    json["nearest"] = {{"t", nearest->tMs},
                       {"frame", file},
                       {"reason", reasons::CodeOf(nearest->reason)},
                       {"difference", nearest->difference},
                       {"limit", nearest->limit}};
    if (spec.hits == 0) {
      text += "\n    " + output.Wrapped("closest in " + file + ": difference " +
                                            Figures(nearest->difference, ", limit ", nearest->limit) +
                                            ", rejected: " + std::string(reasons::CodeOf(nearest->reason)),
                                        4);
    }
  }
  output.Print(json, text);
}

struct ReplayOptions {
  std::string folder;
  bool check = false, accept = false;
};

ExitCode RunReplay(const ReplayOptions& options, Output& output) {
  const std::filesystem::path folder = PathOf(options.folder);
  const Recording recording = replay::ReadRecording(folder);
  std::optional<replay::Expectations> expected;
  if (options.check) expected = replay::ReadExpectations(folder);

  const std::int64_t lastMs = recording.frames.empty() ? 0 : recording.frames.back().tMs;
  const ReplayResult result =
      replay::Replay(recording, folder, [&](std::int64_t tMs) { output.Bar().Show(tMs, lastMs); });

  for (const ReplayedHit& hit : result.hits) PrintHit(recording, hit, output);
  for (const SpecResult& spec : result.specs) PrintSpec(recording, spec, output);
  for (const std::string& fault : result.faults) output.Print({{"type", "fault"}, {"text", fault}}, fault);
  std::vector<std::string> differences;
  if (expected) differences = replay::Differences(*expected, result);
  for (const std::string& line : differences) {
    output.Print({{"type", "difference"}, {"text", line}}, line);
  }
  if (options.accept) host::WriteFile(folder / replay::ExpectationsFile, replay::ExpectationsText(result));

  Json json{{"type", "replay"},
            {"hits", result.hits.size()},
            {"frames", recording.frames.size()},
            {"taken", result.framesTaken}};
  std::string text = Counted(result.hits.size(), "hit") + ", " + std::to_string(result.framesTaken) + " of " +
                     std::to_string(recording.frames.size()) + " frames processed";
  if (expected) {
    json["as-expected"] = differences.empty();
    text += differences.empty() ? "; as expected" : "; not as expected";
  }
  output.Print(json, text);
  if (!result.faults.empty()) return Error;
  return (expected ? differences.empty() : !result.hits.empty()) ? Yes : No;
}

}  // namespace

void AddReplay(CommandLine& line) {
  const auto [command, options] = line.Add<ReplayOptions>(
      "replay", "Runs a recorded desktop through the worker's engine and prints the hits.", RunReplay);
  command.Add("FOLDER", &options.folder, "Folder with the recording", {.required = true});
  command.Add("--check", &options.check, "Compare the result with the folder's expected.json");
  command.Add("--accept", &options.accept, "Save the result as the folder's expected.json",
              {.excludes = {"--check"}});
  command.notes = ReplayNotes;
}

}  // namespace quillmark::control
