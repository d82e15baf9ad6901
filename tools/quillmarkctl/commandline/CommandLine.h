// The tool's command line: holds every command with its arguments and runs the one that was given. A command
// is a function AddNAME in a file of its own under commands/, with one line in commands/List.inc.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <functional>
#include <string>
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

  // Adds a command, which then gets its arguments and notes; the reference holds until the next one is added.
  // What `run` raises is printed as an error, with exit code 2. Every command takes --json.
  CommandModel& Add(const std::string& name, const std::string& help, std::function<ExitCode(Output&)> run);

  // The tool itself, and its commands in the order of --help.
  [[nodiscard]] const CommandModel& Tool() const { return tool; }
  [[nodiscard]] const std::vector<CommandModel>& Commands() const { return commands; }

  // Returns the process's exit code.
  int Run(int argc, const char* const* argv);

 private:
  CommandModel tool;
  std::vector<CommandModel> commands;
  bool json = false;
};

// --timeout SECONDS. `help` says what it waits for and the default.
void AddTimeout(CommandModel& command, std::chrono::milliseconds& timeout,
                const std::string& help = "Seconds to wait for the worker (2)");
inline constexpr std::chrono::milliseconds DefaultTimeout{2000};

}  // namespace quillmark::control
