#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "client/Spec.h"
#include "client/WorkerProbe.h"
#include "commandline/CommandLine.h"
#include "host/Files.h"
#include "host/Interruption.h"
#include "picture/PictureFile.h"
#include "specfile/Applied.h"
#include "specfile/Hash.h"
#include "specfile/SpecFile.h"
#include "text/Printable.h"
#include "worker/Requests.h"
#include "worker/WorkerState.h"

namespace quillmark::control {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr char ApplyNotes[] =
    "Only changes since the last apply are sent: specs that are new, changed or have a changed image, and "
    "the removal of those no longer in the file. Specs added by other means are left alone. A worker "
    "started since then gets everything. Invalid entries are reported; their previous version stays active, "
    "and the others are sent.\n"
    "Exit codes: 0 all sent, 1 no worker took them, 2 an entry or the file is invalid.\n"
    "With --json, per spec: {\"type\":\"spec\", \"name\":TEXT, "
    "\"action\":\"added|replaced|removed|refused\", \"why\":TEXT},\n"
    "  at the end: {\"type\":\"applied\", \"added\":N, \"replaced\":N, \"removed\":N, \"unchanged\":N, "
    "\"refused\":N}.";

struct ApplyOptions {
  std::string file;
  std::chrono::milliseconds timeout = DefaultTimeout;
  bool watch = false, force = false, dryRun = false;
};

// Covers everything the worker sees of a command, and the image it reads.
std::string FingerprintOf(const client::Command& command, const std::string& image) {
  std::string fields;
  for (const std::wstring* text : {&command.target, &command.name, &command.path}) {
    for (const wchar_t unit : *text) fields += std::to_string(static_cast<std::uint32_t>(unit)) + ' ';
    fields += '|';
  }
  for (const int number : {command.roiX, command.roiY, command.roiW, command.roiH}) {
    fields += std::to_string(number) + '|';
  }
  fields += std::to_string(command.edgeMin) + '|' + std::to_string(command.threshold);
  return HashOf(fields) + ":" + HashOf(image);
}

class Applier {
 public:
  Applier(const ApplyOptions& given, Output& toOutput)
      : options(given), file(fs::absolute(PathOf(given.file)).lexically_normal()), output(toOutput) {}

  ExitCode Apply() {
    counts = {};
    owes = false;
    // Before the files are read, so that later changes are noticed.
    const std::string ofFile = StampOf(file);
    seen = StampWith(ofFile);
    const std::vector<DeclaredSpec> specs = ReadSpecFile(file);
    images.clear();
    for (const DeclaredSpec& spec : specs) {
      if (spec.fault.empty()) images.insert(spec.image);
    }
    seen = StampWith(ofFile);
    const WorkerState worker = GlanceAtWorker();
    if (!worker.running && !options.dryRun) return output.Fail(No, "no worker is running in this session");
    Applied applied(file, worker.identity, worker.startedMs);
    if (options.force) applied.sent.clear();

    bool taken = true;
    std::set<std::string> named;
    for (const DeclaredSpec& spec : specs) {
      output.Bar().Show(named.size(), specs.size());
      named.insert(spec.name);
      taken = taken && Sync(spec, applied);
    }
    for (auto old = applied.sent.begin(); taken && old != applied.sent.end();) {
      if (named.contains(old->first)) {
        ++old;
        continue;
      }
      taken = Deliver(client::RemovalOf(old->first));
      if (taken) Report("removed", old->first, "no longer in the file");
      if (taken) old = applied.sent.erase(old);
    }
    owes = !taken;
    if (!options.dryRun) applied.Save();
    Summarise();
    if (!taken) return output.Fail(No, "the worker did not take a command in time");
    return counts["refused"] == 0 ? Yes : Error;
  }

  // Differs when the file, an image it names or the worker has changed.
  std::string Stamp() const { return StampWith(StampOf(file)); }
  // The stamp of the last apply.
  const std::string& Seen() const { return seen; }
  // Whether the worker, which did not take everything in time, is taking commands again.
  bool CanResume() const { return owes && ring.Unread() == 0; }

 private:
  static std::string StampOf(const fs::path& path) {
    std::error_code unwritten, unsized;
    const auto written = fs::last_write_time(path, unwritten);
    const auto size = fs::file_size(path, unsized);
    return (unwritten ? "-" : std::to_string(written.time_since_epoch().count())) + ':' +
           (unsized ? "-" : std::to_string(size)) + '|';
  }
  std::string StampWith(const std::string& ofFile) const {
    std::string stamp = std::to_string(client::WorkerProbe().Look().identity) + '|' + ofFile;
    for (const fs::path& image : images) stamp += StampOf(image);
    return stamp;
  }

  // False when the worker did not take it; an invalid entry is reported.
  bool Sync(const DeclaredSpec& spec, Applied& applied) {
    std::string fault = spec.fault;
    std::string image;
    if (fault.empty()) {
      const PictureFile picture = ReadPicture(spec.command.path);
      if (picture.bgra.empty()) fault = "image " + Utf8Of(spec.image) + ": " + picture.fault;
      image = host::ContentOf(spec.image).value_or("");
    }
    if (!fault.empty()) {
      Report("refused", spec.name, "line " + std::to_string(spec.line) + ": " + fault);
      return true;
    }
    const std::string fingerprint = FingerprintOf(spec.command, image);
    const auto before = applied.sent.find(spec.name);
    const bool known = before != applied.sent.end();
    if (known && before->second == fingerprint) {
      ++counts["unchanged"];
      return true;
    }
    if (!Deliver(spec.command)) return false;
    const bool sameCommand = known && before->second.substr(0, 16) == fingerprint.substr(0, 16);
    Report(known ? "replaced" : "added", spec.name, sameCommand ? "its image has changed" : "");
    applied.sent[spec.name] = fingerprint;
    return true;
  }

  bool Deliver(const client::Command& command) {
    if (options.dryRun) return true;
    const Deadline deadline = std::chrono::steady_clock::now() + options.timeout;
    return ring.Publish(command, deadline) && ring.AwaitTaken(deadline);
  }

  void Report(const std::string& action, const std::string& name, const std::string& why) {
    ++counts[action];
    const Style style = action == "refused" ? Style::Bad : Style::Good;
    output.Print({{"type", "spec"}, {"name", name}, {"action", action}, {"why", why}},
                 output.Styled(style, action) + "  " + name + (why.empty() ? "" : ": " + why));
  }

  void Summarise() {
    Json object = {{"type", "applied"}};
    std::string text;
    for (const char* what : {"added", "replaced", "removed", "unchanged", "refused"}) {
      object[what] = counts[what];
      text += (text.empty() ? "" : ", ") + std::to_string(counts[what]) + ' ' + what;
    }
    output.Print(object, text);
  }

  const ApplyOptions& options;
  const fs::path file;
  Output& output;
  CommandRing ring;
  std::set<fs::path> images;  // named in the file
  std::map<std::string, int> counts;
  std::string seen;
  bool owes = false;  // the worker did not take everything last time
};

ExitCode RunApply(const ApplyOptions& options, Output& output) {
  if (options.file.empty()) throw std::invalid_argument("FILE must not be empty");
  Applier applier(options, output);
  if (!options.watch) return applier.Apply();
  // A file may be saved in several writes: it is applied once it has not changed for an interval.
  constexpr auto Interval = 300ms;
  const host::Interruption interruption;
  output.Bar().End();
  std::string before;
  while (!interruption.Came()) {
    const std::string now = applier.Stamp();
    const bool changed = now != applier.Seen() && (now == before || before.empty());
    if (changed || applier.CanResume()) {
      try {
        (void)applier.Apply();
      } catch (const std::runtime_error& error) {
        (void)output.Fail(Error, error.what());
      }
    }
    before = now;
    std::this_thread::sleep_for(Interval);
  }
  return Yes;
}

}  // namespace

void AddApply(CommandLine& line) {
  const auto [command, options] =
      line.Add<ApplyOptions>("apply", "Syncs the worker with a spec file.", RunApply);
  command.Add("FILE", &options.file, "File that declares the specs", {.required = true});
  command.Add("--watch", &options.watch,
              "Keep running; apply again when the file, an image or the worker changes");
  command.Add("--force", &options.force, "Send everything, even if unchanged");
  command.Add("--dry-run", &options.dryRun, "Only print what would be sent");
  AddTimeout(command, options.timeout, "Seconds to wait for the worker per command (2)");
  command.notes = "The file is TOML; quillmarkctl manual quillmark-specs lists all keys:\n";
  command.notes += std::string(SpecFileExample) + ApplyNotes;
}

}  // namespace quillmark::control
