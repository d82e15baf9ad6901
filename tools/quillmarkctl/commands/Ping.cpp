#include <cmath>
#include <string>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "output/HitLines.h"
#include "worker/Requests.h"

namespace quillmark::control {
namespace {

struct PingOptions {
  std::string text;
  std::chrono::milliseconds timeout = DefaultTimeout;
};

ExitCode Ping(const PingOptions& options, Output& output) {
  const Command heartbeat{.kind = CmdKind::Heartbeat,
                          .name = client::Field("TEXT", options.text, client::HitNameUnits)};
  const Answer answer = Ask(heartbeat, options.timeout, output);
  if (!answer.reply) return output.Fail(No, answer.failure);
  Json object = JsonOf(*answer.reply);
  object["ms"] = answer.roundTrip.count();
  output.Print(object, ShownName(*answer.reply) + " in " +
                           std::to_string(std::lround(answer.roundTrip.count())) + " ms");
  return Yes;
}

}  // namespace

void AddPing(CommandLine& line) {
  const auto [command, options] =
      line.Add<PingOptions>("ping", "Asks the worker for a reply and prints the round-trip time.", Ping);
  command.Add("TEXT", &options.text, "Text for the worker to send back (HB)");
  AddTimeout(command, options.timeout);
  command.notes =
      "The worker checks for commands every 50 ms, so up to 50 ms is normal.\n"
      "Unread hits stay in the ring for the next watch, and a running watch loses none; it prints the reply "
      "as well. If the ring is full and no watch is running, old records are discarded; a note says how "
      "many.\n"
      "With --json: {\"type\":\"reply\", \"text\":TEXT, \"ts\":N, \"ms\":N}";
}

}  // namespace quillmark::control
