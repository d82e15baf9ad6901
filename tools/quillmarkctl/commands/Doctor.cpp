#include <algorithm>
#include <string>
#include <vector>

#include "commandline/CommandLine.h"
#include "commands/Reports.h"
#include "doctor/Doctor.h"
#include "host/Session.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

constexpr char DoctorNotes[] =
    "Exit codes: 0 no problems (warnings do not count), 1 problems found, 2 usage error or failure.\n"
    "With --json, one object per line:\n"
    "  {\"type\":\"finding\", \"level\":\"ok|warning|problem\", \"topic\":TEXT, \"text\":TEXT, "
    "\"consequence\":TEXT, \"remedy\":TEXT, \"facts\":{...}}  facts: the figures in the text, and a "
    "target's candidates\n"
    "  {\"type\":\"summary\", \"ok\":N, \"warnings\":N, \"problems\":N}";

struct DoctorOptions {
  std::vector<std::string> targets;
  std::chrono::milliseconds timeout{1000};
};

constexpr const char* LevelNames[] = {"ok", "warning", "problem"};
constexpr Style LevelStyles[] = {Style::Good, Style::Doubtful, Style::Bad};

void Show(const Check& check, Output& output) {
  constexpr std::size_t LevelWidth = 9, Indent = 18;
  const std::string level = LevelNames[static_cast<int>(check.level)];
  const auto padded = [](std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
  };
  std::string text = output.Styled(LevelStyles[static_cast<int>(check.level)], padded(level, LevelWidth)) +
                     padded(check.topic, Indent - LevelWidth) + output.Wrapped(check.text, Indent);
  for (const std::string& detail : check.details) text += Below(detail, Indent, output);
  if (check.level != Level::Ok) text += EffectAndFix(check.consequence, check.remedy, Indent, output);
  output.Print({{"type", "finding"},
                {"level", level},
                {"topic", check.topic},
                {"text", check.text},
                {"consequence", check.consequence},
                {"remedy", check.remedy},
                {"facts", check.facts}},
               text);
}

ExitCode RunDoctor(const DoctorOptions& options, Output& output) {
  std::size_t counts[3] = {};
  const auto show = [&](const Checks& checks) {
    for (const Check& check : checks) {
      ++counts[static_cast<std::size_t>(check.level)];
      Show(check, output);
    }
  };
  show(host::ExamineSession());
  show(ExamineMonitors());
  show(ExamineWorker(options.timeout, output));
  bool listWindows = options.targets.empty();
  for (const std::string& target : options.targets) {
    bool matched = false;
    show(ExamineTarget(target, matched));
    listWindows = listWindows || !matched;
  }
  if (listWindows) show({ExamineWindows()});

  const auto [ok, warnings, problems] = counts;
  output.Print({{"type", "summary"}, {"ok", ok}, {"warnings", warnings}, {"problems", problems}},
               "\n" + Counted(problems, "problem") + ", " + Counted(warnings, "warning"));
  return problems == 0 ? Yes : No;
}

}  // namespace

void AddDoctor(CommandLine& line) {
  const auto [command, options] = line.Add<DoctorOptions>(
      "doctor", "Checks session, display, monitors, windows and worker, and suggests fixes.", RunDoctor);
  command.Add("--target", &options.targets,
              "Target to check, as in a spec: part of a title, or a program with .exe");
  AddTimeout(command, options.timeout, "Seconds to wait for the worker's reply (1)");
  command.notes = DoctorNotes;
}

}  // namespace quillmark::control
