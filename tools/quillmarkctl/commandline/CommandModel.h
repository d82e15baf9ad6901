// A command and its arguments as plain data. The command line is read by it; help, shell completion and
// manual are made from it.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quillmark::control {

class Output;
enum ExitCode : int;

// What an argument must meet. `needs` and `excludes` name others.
struct ArgumentRules {
  struct Bounds {
    double least, most;
  };
  std::string value = {};  // what stands behind it in the help, such as SECONDS
  bool required = false;
  bool oneValue = false;                // for a list: each use of the name adds one
  std::optional<Bounds> within = {};    // for numbers
  std::vector<std::string> words = {};  // those that it may be
  std::vector<std::string> needs = {}, excludes = {};
};

struct Argument {
  // Where it is stored. A bool is a flag; nothing is stored for --help and --version. Seconds are given for
  // milliseconds, rounded up.
  using Place = std::variant<std::monostate, bool*, std::string*, std::optional<std::string>*,
                             std::vector<std::string>*, double*, std::optional<float>*, int*, std::uint32_t*,
                             std::size_t*, std::chrono::milliseconds*>;

  std::string name;  // with its dashes, several by commas; without dashes the name of a positional argument
  Place place;
  std::string help;
  ArgumentRules rules;

  [[nodiscard]] bool IsPositional() const { return !name.starts_with('-'); }
  [[nodiscard]] std::vector<std::string> Names() const;
  // What stands behind it, empty for a flag.
  [[nodiscard]] std::string Value() const;
};

struct CommandModel {
  // A group of arguments, of which exactly one has to be given.
  struct Choice {
    std::string name, help;
    std::vector<std::string> arguments;
  };

  std::string name;
  std::string help;
  std::string notes;  // paragraphs behind the help, one a line
  std::vector<Argument> arguments;
  Choice oneOf;                          // its arguments stand last
  std::function<ExitCode(Output&)> run;  // called when all arguments were read

  // `place` must outlive the parsing.
  void Add(std::string argument, Argument::Place place, std::string meaning, ArgumentRules rules = {}) {
    arguments.push_back({std::move(argument), place, std::move(meaning), std::move(rules)});
  }
};

// Scripts that complete commands and options; `shell` is bash, zsh or fish. Raises std::invalid_argument for
// another.
[[nodiscard]] std::string CompletionScript(const std::string& shell, const CommandModel& tool,
                                           const std::vector<CommandModel>& commands);
// Manual pages in the language of man: of the tool and of the worker, section 1, and of the file that
// declares specs, section 5.
[[nodiscard]] std::string ManualPage(const CommandModel& tool, const std::vector<CommandModel>& commands);
[[nodiscard]] std::string WorkerPage();
[[nodiscard]] std::string SpecFilePage();

}  // namespace quillmark::control
