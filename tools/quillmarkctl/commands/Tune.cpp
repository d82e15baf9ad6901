#include "advice/Tune.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "advice/TuneReports.h"
#include "commandline/CommandLine.h"
#include "commandline/PartialSpec.h"
#include "commands/Reports.h"
#include "picture/PictureFile.h"
#include "reasons/Reasons.h"

namespace quillmark::control {
namespace {

constexpr char TuneNotes[] =
    "With --roi, screenshots show the window's client area; without it, only the region. A folder stands "
    "for the images in it. docs/tune.md describes the output and its fields.\n"
    "Exit codes: 0 the spec as given decides every screenshot correctly, 1 otherwise, 2 usage error or "
    "failure.";

struct TuneOptions {
  SpecArguments spec;
  std::vector<std::string> positives, negatives;
  double scale = 1.0;
};

// The files of the input's pictures; `named` marks those given by name.
struct Pictures {
  std::vector<std::string> files;
  std::vector<bool> named;
};

void AddPictures(const std::vector<std::string>& paths, bool positive, Pictures& pictures,
                 advice::TuneInput& input) {
  for (const std::string& path : paths) {
    for (const std::string& file : FilesIn(path)) {
      input.pictures.push_back({WideText(file, file), positive});
      pictures.files.push_back(file);
      pictures.named.push_back(file == path);
    }
  }
}

// A picture given by name that cannot be used is an error. In folders, other files are ignored.
void ReportUnused(const advice::TuneReport& report, const Pictures& pictures, Output& output) {
  for (const advice::UnusedPicture& unused : report.unused) {
    const std::string text = "'" + pictures.files[unused.picture] + "': " + unused.fault;
    if (pictures.named[unused.picture]) throw std::runtime_error(text);
    if (unused.isImage) output.Note("skipped " + text);
  }
}

advice::LintSpec SpecOf(const TuneOptions& options) {
  if (options.spec.file.empty()) return ReadPartialSpec(options.spec);
  const std::vector<Command> commands = SpecCommands(options.spec);
  if (commands.size() > 1) throw std::invalid_argument("--specs: tune takes one spec; choose it with --only");
  return {.request = RequestOf(commands.front())};
}

ExitCode RunTune(const TuneOptions& options, Output& output) {
  const advice::LintSpec spec = SpecOf(options);
  advice::TuneInput input;
  input.spec = spec.request;
  if (!spec.hasName) input.spec.name = L"spec";
  input.hasRegion = spec.hasRegion;
  input.scale = options.scale;
  Pictures pictures;
  AddPictures(options.positives, true, pictures, input);
  AddPictures(options.negatives, false, pictures, input);

  const advice::TuneReport report =
      advice::Tune(input, [&](std::size_t done, std::size_t total) { output.Bar().Show(done, total); });
  if (report.rejectedImage) {
    const reasons::ReasonEntry& reason = reasons::EntryOf(*report.rejectedImage);
    throw std::runtime_error("--path: " + std::string(reason.meaning) + " (" + report.remark + ")");
  }
  ReportUnused(report, pictures, output);
  if (report.samples.empty()) throw std::runtime_error("no screenshots given: use --positive or --negative");
  for (const bool positive : {true, false}) {
    if ((positive ? options.positives : options.negatives).empty()) continue;
    if (std::ranges::any_of(report.samples,
                            [&](const auto& sample) { return sample.positive == positive; })) {
      continue;
    }
    throw std::runtime_error(std::string(positive ? "--positive" : "--negative") + ": no screenshot found");
  }
  output.Print(advice::TuneJson(report, pictures.files),
               advice::TuneText(report, pictures.files, PainterOf(output), output.Width()));
  return report.right ? Yes : No;
}

}  // namespace

void AddTune(CommandLine& line) {
  const auto [command, options] = line.Add<TuneOptions>(
      "tune", "Finds thresholds that separate good screenshots from bad ones.", RunTune);
  AddPartialSpecOptions(command, options.spec);
  command.Add("--positive", &options.positives, "Screenshots, or folders of them, that show the template",
              {.value = "PATH"});
  command.Add("--negative", &options.negatives, "Screenshots, or folders of them, that do not",
              {.value = "PATH"});
  command.Add("--scale", &options.scale, "Screenshot pixels per template pixel (1)",
              {.value = "N", .within = {{0.25, 8.0}}});
  command.notes = TuneNotes;
}

}  // namespace quillmark::control
