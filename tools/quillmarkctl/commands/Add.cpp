#include <memory>

#include "commandline/CommandLine.h"
#include "commandline/SpecArguments.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddAdd(CommandLine& line) {
  struct Options {
    SpecArguments spec;
    std::chrono::milliseconds timeout = DefaultTimeout;
  };
  const auto options = std::make_shared<Options>();
  CommandModel& command = line.Add(
      "add", "Adds a spec, or replaces the one of the same name.",
      [options](Output& output) { return Send(SpecCommand(options->spec), options->timeout, output); });
  AddSpecOptions(command, options->spec);
  AddTimeout(command, options->timeout);
  command.notes =
      "Exit code 0 says that the worker took the command; whether it could read the image, its log says.\n"
      "With --json: {\"type\":\"sent\", \"command\":\"add\", \"name\":TEXT}";
}

}  // namespace quillmark::control
