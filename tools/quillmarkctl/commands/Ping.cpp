#include <cmath>
#include <memory>
#include <string>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "output/HitLines.h"
#include "text/Printable.h"
#include "worker/Requests.h"

namespace quillmark::control {

void AddPing(CommandLine& line) {
  struct Options {
    std::string text;
    std::chrono::milliseconds timeout = DefaultTimeout;
  };
  const auto options = std::make_shared<Options>();
  CommandModel& command =
      line.Add("ping", "Asks whether the worker lives, and prints its reply and the time it took.",
               [options](Output& output) {
                 const Command heartbeat{.kind = CmdKind::Heartbeat,
                                         .name = client::Field("TEXT", options->text, client::HitNameUnits)};
                 const Answer answer = Ask(heartbeat, options->timeout, output);
                 if (!answer.reply) return output.Fail(No, answer.failure);
                 Json object = JsonOf(*answer.reply);
                 object["ms"] = answer.roundTrip.count();
                 output.Print(object, Printable(answer.reply->name) + " in " +
                                          std::to_string(std::lround(answer.roundTrip.count())) + " ms");
                 return Yes;
               });
  command.Add("TEXT", &options->text, "Text that the worker sends back (HB)");
  AddTimeout(command, options->timeout);
  command.notes =
      "The worker looks for commands every 50 ms, so that up to 50 ms are no sign of anything.\n"
      "Unread hits stay in the ring for the next watch, and a watch that runs loses none (it prints the "
      "reply too). Only when the ring is full and no watch runs are its old records discarded, and their "
      "number is told.\n"
      "With --json: {\"type\":\"reply\", \"text\":TEXT, \"ts\":N, \"ms\":N}";
}

}  // namespace quillmark::control
