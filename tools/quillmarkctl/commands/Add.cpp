#include "commandline/CommandLine.h"
#include "commandline/SpecArguments.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddAdd(CommandLine& line) {
  struct Options {
    SpecArguments spec;
    std::chrono::milliseconds timeout = DefaultTimeout;
  };
  const auto [command, options] =
      line.Add<Options>("add", "Adds a spec, or replaces the one with the same name.",
                        [](const Options& given, Output& output) {
                          return Send("add", SpecCommand(given.spec), given.timeout, output);
                        });
  AddSpecOptions(command, options.spec);
  AddTimeout(command, options.timeout);
  command.notes =
      "Exit code 0 means that the worker took the command; its log says whether it could read the image.\n"
      "With --json: {\"type\":\"sent\", \"command\":\"add\", \"name\":TEXT}";
}

}  // namespace quillmark::control
