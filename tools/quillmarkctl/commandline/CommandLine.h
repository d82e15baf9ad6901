// The tool's command line: owns every command with its arguments and runs the one that was given. Each
// command is a function AddNAME in its own file under commands/, with one line in commandline/Commands.inc.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commandline/CommandModel.h"
#include "output/Output.h"

namespace quillmark::control {

class CommandLine {
 public:
  // Adds all commands.
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Adds a command and its options, which its arguments fill; both references are valid until the next
  // command is added. `run(options, output)` returns the exit code; what it raises is printed as an error,
  // with exit code 2. Every command takes --json.
  template <class Options, class Run>
  std::pair<CommandModel&, Options&> Add(const std::string& name, const std::string& help, Run run) {
    const auto options = std::make_shared<Options>();
    return {AddModel(name, help, [options, run](Output& output) { return run(*options, output); }), *options};
  }

  // The tool itself, and its commands in the order of --help.
  [[nodiscard]] const CommandModel& Tool() const { return tool; }
  [[nodiscard]] const std::vector<CommandModel>& Commands() const { return commands; }

  // Returns the process's exit code.
  int Run(int argc, const char* const* argv);

 private:
  CommandModel& AddModel(const std::string& name, const std::string& help,
                         std::function<ExitCode(Output&)> run);

  CommandModel tool;
  std::vector<CommandModel> commands;
  bool json = false;
};

// --timeout SECONDS; `help` describes it and its default.
void AddTimeout(CommandModel& command, std::chrono::milliseconds& timeout,
                const std::string& help = "Seconds to wait for the worker (2)");
inline constexpr std::chrono::milliseconds DefaultTimeout{2000};

}  // namespace quillmark::control
