#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "commandline/CommandLine.h"
#include "doctor/Doctor.h"
#include "host/Session.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

constexpr char Notes[] =
    "Exit code 0 when there is no problem (warnings do not count), 1 when there is one.\n"
    "With --json each line is one object:\n"
    "  {\"type\":\"finding\", \"level\":\"ok|warning|problem\", \"topic\":TEXT, \"text\":TEXT, "
    "\"consequence\":TEXT, \"remedy\":TEXT, \"facts\":{...}}  facts holds the figures of the text; a "
    "target's candidates, too\n"
    "  {\"type\":\"summary\", \"ok\":N, \"warnings\":N, \"problems\":N}";

struct Options {
  std::vector<std::string> targets;
  std::chrono::milliseconds timeout{1000};
};

const char* NameOf(Level level) {
  switch (level) {
    case Level::Ok:
      return "ok";
    case Level::Warning:
      return "warning";
    default:
      return "problem";
  }
}

Style StyleOf(Level level) {
  switch (level) {
    case Level::Ok:
      return Style::Good;
    case Level::Warning:
      return Style::Doubtful;
    default:
      return Style::Bad;
  }
}

void Show(const Finding& finding, Output& output) {
  constexpr std::size_t LevelWidth = 9, Indent = 18;
  const std::string level = NameOf(finding.level);
  const auto padded = [](std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
  };
  std::string text = output.Styled(StyleOf(finding.level), padded(level, LevelWidth)) +
                     padded(finding.topic, Indent - LevelWidth) + output.Wrapped(finding.text, Indent);
  const std::string indent = '\n' + std::string(Indent, ' ');
  for (const std::string& detail : finding.details) text += indent + output.Wrapped(detail, Indent + 4);
  if (finding.level != Level::Ok) {
    text += indent + output.Wrapped("Effect: " + finding.consequence, Indent + 4);
    text += indent + output.Wrapped("Fix: " + finding.remedy, Indent + 4);
  }
  output.Print({{"type", "finding"},
                {"level", level},
                {"topic", finding.topic},
                {"text", finding.text},
                {"consequence", finding.consequence},
                {"remedy", finding.remedy},
                {"facts", finding.facts}},
               text);
}

ExitCode Examine(const Options& options, Output& output) {
  std::size_t counts[3] = {};
  const auto show = [&](const Findings& findings) {
    for (const Finding& finding : findings) {
      ++counts[static_cast<std::size_t>(finding.level)];
      Show(finding, output);
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
  const auto options = std::make_shared<Options>();
  CommandModel& command =
      line.Add("doctor", "Examines session, display, monitors, windows and worker, and says what to do.",
               [options](Output& output) { return Examine(*options, output); });
  command.Add("--target", &options->targets,
              "Examine this target, as specs have it: part of a title, or a program with .exe");
  AddTimeout(command, options->timeout, "Seconds to wait for the worker's answer (1)");
  command.notes = Notes;
}

}  // namespace quillmark::control
