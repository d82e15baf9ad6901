#include "commandline/CommandLine.h"
#include "output/HitLines.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddVersion(CommandLine& line) {
  using Timeout = std::chrono::milliseconds;
  const auto [command, timeout] =
      line.Add<Timeout>("version", "Prints the worker's version.", [](const Timeout& given, Output& output) {
        const Command question{.kind = CmdKind::Version};
        const Answer answer = Ask(question, given, output);
        if (!answer.reply) return output.Fail(No, answer.failure);
        output.Print(JsonOf(*answer.reply), *AnswerIn(*answer.reply, question));
        return Yes;
      });
  timeout = DefaultTimeout;
  AddTimeout(command, timeout);
  command.notes = "With --json: {\"type\":\"reply\", \"text\":\"__ver__:VERSION\", \"ts\":N}";
}

}  // namespace quillmark::control
