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
  const auto [command, options] = line.Add<Options>(
      "remove", "Removes the spec with this name.", [](const Options& given, Output& output) {
        const std::wstring name = client::NonEmptyField("NAME", given.name, client::NameUnits);
        return Send("remove", {.kind = CmdKind::Remove, .name = name}, given.timeout, output);
      });
  command.Add("NAME", &options.name, "Name of the spec without its options", {.required = true});
  AddTimeout(command, options.timeout);
  command.notes =
      "Exit code 0 means that the worker took the command, whether or not it had such a spec.\n"
      "With --json: {\"type\":\"sent\", \"command\":\"remove\", \"name\":TEXT}";
}

}  // namespace quillmark::control
