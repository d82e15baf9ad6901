// The commands and options of the tool as plain data, read from the command line's own description: the one
// source of shell completion and manual.
//
// Threading: free functions without state.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace quillmark::control {

struct OptionModel {
  std::vector<std::string> names;  // with their dashes; the argument's name when it is positional
  std::string value;               // what stands behind it, such as SECONDS; empty for a flag
  std::vector<std::string> words;  // those that it may be, where there is a choice
  std::string help;
  bool positional = false;
  bool required = false;
};

struct CommandModel {
  std::string name;
  std::string help;
  std::string notes;
  std::vector<OptionModel> options;
};

// The tool itself, and its commands in the order of --help.
[[nodiscard]] CommandModel ModelOf(const CLI::App& app);
[[nodiscard]] std::vector<CommandModel> CommandsOf(const CLI::App& app);

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
