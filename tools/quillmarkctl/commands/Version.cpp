#include <memory>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "output/HitLines.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddVersion(CommandLine& line) {
  const auto timeout = std::make_shared<std::chrono::milliseconds>(DefaultTimeout);
  CommandModel& command = line.Add("version", "Prints the worker's version.", [timeout](Output& output) {
    const Command question{.kind = CmdKind::Version};
    const Answer answer = Ask(question, *timeout, output);
    if (!answer.reply) return output.Fail(No, answer.failure);
    output.Print(JsonOf(*answer.reply), client::ToUtf8(*AnswerIn(*answer.reply, question)));
    return Yes;
  });
  AddTimeout(command, *timeout);
  command.notes = "With --json: {\"type\":\"reply\", \"text\":\"__ver__:VERSION\", \"ts\":N}";
}

}  // namespace quillmark::control
