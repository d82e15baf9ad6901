// The tool's command line: holds every command with its options and runs the one that was given. A command
// is a function AddNAME in a file of its own under commands/, with one line in commands/List.inc.
//
// Threading: one thread.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <functional>
#include <string>

#include "Output.h"

namespace quillmark::control {

class CommandLine {
 public:
  // Adds all commands.
  CommandLine();

  // Adds a command, which then gets its options and, as a footer, its notes. `run` is called after the
  // arguments were read; what it raises is printed as an error, with exit code 2. Every command takes --json.
  CLI::App& Add(const std::string& name, const std::string& help, std::function<ExitCode(Output&)> run);

  // The description of all commands.
  [[nodiscard]] const CLI::App& Model() const { return app; }

  // Returns the process's exit code.
  int Run(int argc, const char* const* argv);

 private:
  CLI::App app;
  bool json = false;
  std::function<ExitCode(Output&)> action;
};

// A check for a real number from `least` to `most`, which CLI::Range takes "nan" for.
[[nodiscard]] CLI::Validator RealBetween(double least, double most);

// --timeout SECONDS, which must outlive the parsing. `help` says what it waits for and the default.
CLI::Option* AddTimeout(CLI::App& command, std::chrono::milliseconds& timeout,
                        const std::string& help = "Seconds to wait for the worker (2)");
inline constexpr std::chrono::milliseconds DefaultTimeout{2000};

}  // namespace quillmark::control
