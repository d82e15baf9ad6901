#include "commandline/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <utility>

#include "host/Terminal.h"
#include "text/Wrapping.h"

namespace quillmark::control {

#define COMMAND(NAME) void Add##NAME(CommandLine&);
#include "commandline/Commands.inc"
#undef COMMAND

namespace {

constexpr char Help[] = "Sends commands to this session's Quillmark worker and prints the hits it reports.";
constexpr char Notes[] =
    "Exit codes: 0 yes or done, 1 no, nothing found or timed out, 2 usage error or failure.\n"
    "With --json, every command prints one JSON object per line; its \"type\" field names its kind. Any "
    "command may print\n"
    "  {\"type\":\"note\", \"text\":TEXT}  additional information\n"
    "  {\"type\":\"error\", \"code\":N, \"text\":TEXT}  why the exit code is N\n"
    "Usage errors are printed as text, on standard error.";

// Help, wrapped to the terminal's width.
class HelpText : public CLI::Formatter {
 public:
  HelpText() { column_width(26); }

  std::string make_option(const CLI::Option* option, bool positional) const override {
    return Entry(make_option_name(option, positional) + make_option_opts(option), make_option_desc(option));
  }
  std::string make_subcommand(const CLI::App* command) const override {
    return Entry(command->get_display_name(true), command->get_description());
  }
  std::string make_description(const CLI::App* command) const override {
    return Lines(CLI::Formatter::make_description(command));
  }
  std::string make_footer(const CLI::App* command) const override { return Lines(command->get_footer()); }

 private:
  // Each line as a paragraph.
  std::string Lines(const std::string& paragraphs) const {
    std::istringstream lines(paragraphs);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
      text += Wrapped(line, line.starts_with(' ') ? 4 : 0, width) + '\n';
    }
    return text;
  }
  // A name, with its meaning in the next column or below.
  std::string Entry(const std::string& name, const std::string& meaning) const {
    std::string entry = "  " + Wrapped(name, 6, width);
    if (meaning.empty()) return entry + '\n';
    const std::size_t column = get_column_width();
    if (entry.size() >= column) entry += '\n';
    const std::size_t taken = entry.back() == '\n' ? 0 : entry.size();
    return entry + std::string(column - taken, ' ') + Wrapped(meaning, column, width) + '\n';
  }

  // Options in a group are indented by two more blanks.
  const std::size_t width = static_cast<std::size_t>(std::clamp(host::TerminalWidth(), 40, 100)) - 2;
};

// Every command has it.
const Argument HelpFlag{"-h,--help", {}, "Print this help message and exit", {}};

// Like CLI::Range, which accepts "nan".
CLI::Validator RealBetween(double min, double max) {
  const CLI::Range range(min, max);
  const auto check = [range](std::string& text) {
    double number = std::numeric_limits<double>::quiet_NaN();
    (void)CLI::detail::lexical_cast(text, number);
    return std::isnan(number) ? "'" + text + "' is not a number" : range(text);
  };
  return {check, range.get_description()};
}

CLI::Option* Place(CLI::App& app, const Argument& argument, std::monostate) {
  if (argument.name == "--version") {
    return app.set_version_flag(argument.name, "quillmarkctl " QUILLMARK_VERSION, argument.help);
  }
  return app.set_help_flag(argument.name, argument.help);
}
CLI::Option* Place(CLI::App& app, const Argument& argument, bool* place) {
  return app.add_flag(argument.name, *place, argument.help);
}
CLI::Option* Place(CLI::App& app, const Argument& argument, std::chrono::milliseconds* place) {
  const auto set = [place](const double& seconds) {
    *place = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000.0)));
  };
  return app.add_option_function<double>(argument.name, set, argument.help);
}
template <class Value>
CLI::Option* Place(CLI::App& app, const Argument& argument, Value* place) {
  return app.add_option(argument.name, *place, argument.help);
}

bool IsReal(const Argument& argument) {
  return std::holds_alternative<double*>(argument.place) ||
         std::holds_alternative<std::chrono::milliseconds*>(argument.place);
}

void AddArgument(CLI::App& app, const Argument& argument) {
  CLI::Option& option = *std::visit([&](auto place) { return Place(app, argument, place); }, argument.place);
  const ArgumentRules& rules = argument.rules;
  if (!rules.value.empty()) option.type_name(rules.value);
  option.required(rules.required);
  if (rules.oneValue) option.allow_extra_args(false);
  if (!rules.words.empty()) option.check(CLI::IsMember(rules.words));
  if (rules.within) {
    const auto [min, max] = *rules.within;
    option.check(IsReal(argument) ? RealBetween(min, max)
                                  : CLI::Range(static_cast<int>(min), static_cast<int>(max)));
  }
}

void AddArguments(CLI::App& app, const CommandModel& command) {
  CLI::App* group = nullptr;
  const CommandModel::Choice& choice = command.oneOf;
  for (const Argument& argument : command.arguments) {
    const bool inGroup = std::ranges::find(choice.arguments, argument.name) != choice.arguments.end();
    if (inGroup && group == nullptr) {
      group = app.add_option_group(choice.name, choice.help);
      group->require_option(1);
    }
    AddArgument(inGroup ? *group : app, argument);
  }
  for (const Argument& argument : command.arguments) {
    for (const std::string& other : argument.rules.needs) {
      app.get_option(argument.name)->needs(app.get_option(other));
    }
    for (const std::string& other : argument.rules.excludes) {
      app.get_option(argument.name)->excludes(app.get_option(other));
    }
  }
}

}  // namespace

CommandLine::CommandLine()
    : tool{"quillmarkctl",
           Help,
           Notes,
           {HelpFlag, {"--version", {}, "Display program version information and exit", {}}},
           {},
           {}} {
#define COMMAND(NAME) Add##NAME(*this);
#include "commandline/Commands.inc"
#undef COMMAND
}

CommandModel& CommandLine::AddModel(const std::string& name, const std::string& help,
                                    std::function<ExitCode(Output&)> run) {
  CommandModel& command = commands.emplace_back(CommandModel{name, help, {}, {HelpFlag}, {}, std::move(run)});
  command.Add("--json", &json, "Print one JSON object per line");
  return command;
}

int CommandLine::Run(int argc, const char* const* argv) {
  CLI::App app(tool.help, tool.name);
  app.formatter(std::make_shared<HelpText>());
  app.require_subcommand(1);
  app.footer(tool.notes);
  AddArguments(app, tool);
  const CommandModel* given = nullptr;
  for (const CommandModel& command : commands) {
    CLI::App& part = *app.add_subcommand(command.name, command.help);
    part.footer(command.notes);
    part.callback([&given, &command] { given = &command; });
    AddArguments(part, command);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::RequiredError& error) {
    const std::vector<std::string> unknown = app.remaining();
    if (unknown.empty() || unknown.front().starts_with('-') || !app.get_subcommands().empty())
      return app.exit(error) == 0 ? Yes : Error;
    return Output(false, {}).Fail(Error,
                                  "unknown command '" + unknown.front() + "'; --help lists the commands");
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? Yes : Error;
  }
  Output output(json, given->name);
  try {
    return given->run(output);
  } catch (const std::exception& error) {
    return output.Fail(Error, error.what());
  }
}

void AddTimeout(CommandModel& command, std::chrono::milliseconds& timeout, const std::string& help) {
  command.Add("--timeout", &timeout, help, {.value = "SECONDS", .within = {{0.0, 1e6}}});
}

}  // namespace quillmark::control
