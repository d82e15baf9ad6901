#include "CommandLine.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <utility>

#include "explain/Wrapping.h"
#include "host/Terminal.h"

namespace quillmark::control {

#define COMMAND(NAME) void Add##NAME(CommandLine&);
#include "commands/List.inc"
#undef COMMAND

namespace {

constexpr char Help[] =
    "Gives the Quillmark worker of this session its commands and prints the hits it reports.";
constexpr char Notes[] =
    "Exit codes: 0 yes or done, 1 no, nothing found or no answer in time, 2 wrong use or error.\n"
    "With --json, after any command, each line is one JSON object; its field \"type\" says which. All "
    "commands may print\n"
    "  {\"type\":\"note\", \"text\":TEXT}  what happened beside\n"
    "  {\"type\":\"error\", \"code\":N, \"text\":TEXT}  why it ends with exit code N\n"
    "A wrong command line is told as text, on standard error.";

// Help in lines that the terminal need not break.
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
      text += explain::Wrapped(line, line.starts_with(' ') ? 4 : 0, width) + '\n';
    }
    return text;
  }
  // A name and, in a column beside it or below, what it means.
  std::string Entry(const std::string& name, const std::string& meaning) const {
    std::string entry = "  " + explain::Wrapped(name, 6, width);
    if (meaning.empty()) return entry + '\n';
    const std::size_t column = get_column_width();
    if (entry.size() >= column) entry += '\n';
    const std::size_t taken = entry.back() == '\n' ? 0 : entry.size();
    return entry + std::string(column - taken, ' ') + explain::Wrapped(meaning, column, width) + '\n';
  }

  // Options in a group are indented by another two blanks.
  const std::size_t width = static_cast<std::size_t>(std::clamp(host::TerminalWidth(), 40, 100)) - 2;
};

}  // namespace

CommandLine::CommandLine() : app(Help, "quillmarkctl") {
  app.formatter(std::make_shared<HelpText>());
  app.require_subcommand(1);
  app.footer(Notes);
  app.set_version_flag("--version", "quillmarkctl " QUILLMARK_VERSION);
#define COMMAND(NAME) Add##NAME(*this);
#include "commands/List.inc"
#undef COMMAND
}

CLI::App& CommandLine::Add(const std::string& name, const std::string& help,
                           std::function<ExitCode(Output&)> run) {
  CLI::App& command = *app.add_subcommand(name, help);
  command.add_flag("--json", json, "Print one JSON object a line");
  command.callback([this, run = std::move(run)] { action = run; });
  return command;
}

int CommandLine::Run(int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::RequiredError& error) {
    const std::vector<std::string> unknown = app.remaining();
    if (unknown.empty() || unknown.front().starts_with('-') || !app.get_subcommands().empty())
      return app.exit(error) == 0 ? Yes : Error;
    return Output(false, {}).Fail(Error, "there is no command '" + unknown.front() + "'; --help lists them");
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? Yes : Error;
  }
  Output output(json, app.get_subcommands().front()->get_name());
  try {
    return action(output);
  } catch (const std::exception& error) {
    return output.Fail(Error, error.what());
  }
}

CLI::Validator RealBetween(double least, double most) {
  const CLI::Range range(least, most);
  const auto check = [range](std::string& text) {
    double number = std::numeric_limits<double>::quiet_NaN();
    (void)CLI::detail::lexical_cast(text, number);
    return std::isnan(number) ? "'" + text + "' is not a number" : range(text);
  };
  return {check, range.get_description()};
}

CLI::Option* AddTimeout(CLI::App& command, std::chrono::milliseconds& timeout, const std::string& help) {
  const auto set = [&timeout](const double& seconds) {
    timeout = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000.0)));
  };
  return command.add_option_function<double>("--timeout", set, help)
      ->type_name("SECONDS")
      ->check(RealBetween(0.0, 1e6));
}

}  // namespace quillmark::control
