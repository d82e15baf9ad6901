#include "commandline/CommandLine.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddClear(CommandLine& line) {
  using Timeout = std::chrono::milliseconds;
  const auto [command, timeout] =
      line.Add<Timeout>("clear", "Removes all specs.", [](const Timeout& given, Output& output) {
        return Send("clear", {.kind = CmdKind::Clear}, given, output);
      });
  timeout = DefaultTimeout;
  AddTimeout(command, timeout);
  command.notes = "With --json: {\"type\":\"sent\", \"command\":\"clear\"}";
}

}  // namespace quillmark::control
