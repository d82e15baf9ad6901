#include <memory>
#include <string>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddRemove(CommandLine& line) {
  struct Options {
    std::string name;
    std::chrono::milliseconds timeout = DefaultTimeout;
  };
  const auto options = std::make_shared<Options>();
  CommandModel& command = line.Add("remove", "Removes the spec of this name.", [options](Output& output) {
    return Send(
        {.kind = CmdKind::Remove, .name = client::NonEmptyField("NAME", options->name, client::NameUnits)},
        options->timeout, output);
  });
  command.Add("NAME", &options->name, "The spec's name without its options", {.required = true});
  AddTimeout(command, options->timeout);
  command.notes =
      "Exit code 0 says that the worker took the command, whether it had such a spec or not.\n"
      "With --json: {\"type\":\"sent\", \"command\":\"remove\", \"name\":TEXT}";
}

}  // namespace quillmark::control
