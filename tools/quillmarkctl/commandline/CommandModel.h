// A command and its arguments as plain data, from which the parser, the help, the shell completion and the
// manual are made.
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

// What an argument must satisfy; `needs` and `excludes` name other arguments.
struct ArgumentRules {
  struct Bounds {
    double min, max;
  };
  std::string value = {};  // its placeholder in the help, such as SECONDS
  bool required = false;
  bool oneValue = false;                // for a list: each use adds one
  std::optional<Bounds> within = {};    // for numbers
  std::vector<std::string> words = {};  // the allowed values
  std::vector<std::string> needs = {}, excludes = {};
};

struct Argument {
  // Where it is stored. A bool is a flag; nothing is stored for --help and --version. Milliseconds are given
  // in seconds, rounded up.
  using Place = std::variant<std::monostate, bool*, std::string*, std::optional<std::string>*,
                             std::vector<std::string>*, double*, std::optional<float>*, int*, std::uint32_t*,
                             std::size_t*, std::chrono::milliseconds*>;

  std::string name;  // with dashes, alternatives separated by commas; without dashes: positional
  Place place;
  std::string help;
  ArgumentRules rules;

  [[nodiscard]] bool IsPositional() const { return !name.starts_with('-'); }
  [[nodiscard]] std::vector<std::string> Names() const;
  // The placeholder of its value, empty for a flag.
  [[nodiscard]] std::string Value() const;
};

struct CommandModel {
  // A group of arguments; exactly one must be given.
  struct Choice {
    std::string name, help;
    std::vector<std::string> arguments;
  };

  std::string name;
  std::string help;
  std::string notes;  // paragraphs after the options, one per line
  std::vector<Argument> arguments;
  Choice oneOf;                          // its arguments come last
  std::function<ExitCode(Output&)> run;  // called when all arguments have been read

  // `place` must outlive parsing.
  void Add(std::string argument, Argument::Place place, std::string meaning, ArgumentRules rules = {}) {
    arguments.push_back({std::move(argument), place, std::move(meaning), std::move(rules)});
  }
};

// A script that completes commands and options; `shell` is bash, zsh or fish, else std::invalid_argument.
[[nodiscard]] std::string CompletionScript(const std::string& shell, const CommandModel& tool,
                                           const std::vector<CommandModel>& commands);
// Manual pages in man's markup: the tool and the worker in section 1, the spec file in section 5.
[[nodiscard]] std::string ManualPage(const CommandModel& tool, const std::vector<CommandModel>& commands);
[[nodiscard]] std::string WorkerPage();
[[nodiscard]] std::string SpecFilePage();

}  // namespace quillmark::control
