#include "worker/Requests.h"

#include <string>
#include <thread>
#include <utility>

#include "client/Client.h"
#include "client/Text.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

using namespace std::chrono_literals;

constexpr auto PollInterval = 5ms;

// Publishes the command and waits until the worker takes it; empty on success, else what went wrong.
std::string FailureToSend(CommandRing& ring, const Command& command, Deadline deadline) {
  if (!ring.Publish(command, deadline)) {
    return "timed out: the command ring is full, or another tool keeps writing";
  }
  return ring.AwaitTaken(deadline) ? "" : "timed out: no worker took the command";
}

// Empties a full ring that nobody reads.
void MakeRoom(HitReader& hits, Output& output) {
  if (hits.WriteIndex() - hits.ReadIndex() < RingSlots) return;
  const HitConsumer consumer;
  if (!consumer.Held()) return;  // its reader will make room
  const std::uint32_t written = hits.WriteIndex();
  const std::uint32_t unread = written - hits.ReadIndex();
  hits.ConsumeUpTo(written);
  output.Note("the hit ring was full and nobody read it; discarded " + Counted(unread, "old record"));
}

// Consumes the record if it is the next one and nobody reads the ring.
void TakeUnwatched(HitReader& hits, std::uint32_t index) {
  const HitConsumer consumer;
  if (consumer.Held() && hits.ReadIndex() == index) hits.ConsumeUpTo(index + 1);
}

}  // namespace

std::optional<std::string> AnswerIn(const Record& record, const Command& command) {
  if (record.kind != Record::Kind::Reply) return std::nullopt;
  if (command.kind == CmdKind::Version) {
    if (!record.name.starts_with(client::VersionReply)) return std::nullopt;
    return record.name.substr(client::VersionReply.size());
  }
  if (record.name != (command.name.empty() ? "HB" : client::ToUtf8(command.name))) return std::nullopt;
  return record.name;
}

ExitCode Send(const char* name, const Command& command, std::chrono::milliseconds timeout, Output& output) {
  CommandRing ring;
  const std::string failure = FailureToSend(ring, command, Clock::now() + timeout);
  if (!failure.empty()) return output.Fail(No, failure);
  if (output.IsJson()) {
    Json sent = {{"type", "sent"}, {"command", name}};
    if (!command.name.empty()) sent["name"] = client::ToUtf8(command.name);
    output.Print(sent, {});
  }
  return Yes;
}

Answer Ask(const Command& command, std::chrono::milliseconds timeout, Output& output) {
  const auto start = Clock::now();
  const Deadline deadline = start + timeout;
  HitReader hits;
  CommandRing commands;
  MakeRoom(hits, output);

  std::uint32_t next = hits.WriteIndex();
  if (std::string failure = FailureToSend(commands, command, deadline); !failure.empty()) {
    return {.reply = {}, .failure = std::move(failure)};
  }
  // Waiting for the ring's event would take the signal from a watch.
  for (; Clock::now() < deadline; std::this_thread::sleep_for(PollInterval)) {
    for (; next != hits.WriteIndex(); ++next) {
      std::optional<Record> record = hits.Peek(next);
      if (!record || !AnswerIn(*record, command)) continue;
      TakeUnwatched(hits, next);
      return {.reply = std::move(record), .failure = {}, .roundTrip = Clock::now() - start};
    }
    MakeRoom(hits, output);
  }
  return {.reply = {}, .failure = "timed out: the worker took the command, but did not reply"};
}

}  // namespace quillmark::control
