#include "worker/Requests.h"

#include <iterator>
#include <string>
#include <thread>
#include <utility>

#include "client/Text.h"

namespace quillmark::control {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr wchar_t VersionReplyPrefix[] = L"__ver__:";
constexpr auto PollInterval = 5ms;

const char* NameOf(CmdKind kind) {
  switch (kind) {
    case CmdKind::Spec:
      return "add";
    case CmdKind::Remove:
      return "remove";
    default:
      return "clear";
  }
}

// Publishes and waits; empty when the worker has taken the command, else why not.
std::string FailureToSend(CommandRing& ring, const Command& command, Deadline deadline) {
  if (!ring.Publish(command, deadline)) {
    return "the command could not be written in time: the ring is full, or another tool keeps writing";
  }
  return ring.AwaitTaken(deadline) ? "" : "no worker took the command in time";
}

// Nobody waits for the records of a ring that is full while no tool reads it.
void MakeRoom(HitReader& hits, Output& output) {
  if (hits.WriteIndex() - hits.ReadIndex() < RingSlots) return;
  const HitConsumer consumer;
  if (!consumer.Held()) return;  // a watch will read them
  const std::uint32_t written = hits.WriteIndex();
  const std::uint32_t unread = written - hits.ReadIndex();
  hits.ConsumeUpTo(written);
  output.Note("the hit ring was full and unread; " + std::to_string(unread) + " old records were discarded");
}

// Takes the record if it is the next to be read and no watch will read it.
void TakeUnwatched(HitReader& hits, std::uint32_t index) {
  const HitConsumer consumer;
  if (consumer.Held() && hits.ReadIndex() == index) hits.ConsumeUpTo(index + 1);
}

}  // namespace

std::optional<std::wstring> AnswerIn(const Hit& hit, const Command& command) {
  if (!hit.IsReply()) return std::nullopt;
  if (command.kind == CmdKind::Version) {
    if (!hit.name.starts_with(VersionReplyPrefix)) return std::nullopt;
    return hit.name.substr(std::size(VersionReplyPrefix) - 1);
  }
  if (hit.name != (command.name.empty() ? L"HB" : command.name)) return std::nullopt;
  return hit.name;
}

ExitCode Send(const Command& command, std::chrono::milliseconds timeout, Output& output) {
  CommandRing ring;
  const std::string failure = FailureToSend(ring, command, Clock::now() + timeout);
  if (!failure.empty()) return output.Fail(No, failure);
  // People who hear nothing know that it was done.
  if (output.IsJson()) {
    Json sent = {{"type", "sent"}, {"command", NameOf(command.kind)}};
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
  // The ring's event is left alone: one wait would take the signal that a watch waits for.
  for (; Clock::now() < deadline; std::this_thread::sleep_for(PollInterval)) {
    for (; next != hits.WriteIndex(); ++next) {
      std::optional<Hit> hit = hits.Peek(next);
      if (!hit || !AnswerIn(*hit, command)) continue;
      TakeUnwatched(hits, next);
      return {.reply = std::move(hit), .failure = {}, .roundTrip = Clock::now() - start};
    }
    MakeRoom(hits, output);
  }
  return {.reply = {}, .failure = "the worker took the command, but no reply came in time"};
}

}  // namespace quillmark::control
