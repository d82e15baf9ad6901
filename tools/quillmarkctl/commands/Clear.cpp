#include <memory>

#include "commandline/CommandLine.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddClear(CommandLine& line) {
  const auto timeout = std::make_shared<std::chrono::milliseconds>(DefaultTimeout);
  CommandModel& command = line.Add("clear", "Removes all specs.", [timeout](Output& output) {
    return Send({.kind = CmdKind::Clear}, *timeout, output);
  });
  AddTimeout(command, *timeout);
  command.notes = "With --json: {\"type\":\"sent\", \"command\":\"clear\"}";
}

}  // namespace quillmark::control
