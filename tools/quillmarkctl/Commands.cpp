#include "Commands.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>

#include "HitReader.h"
#include "Output.h"
#include "Text.h"

namespace quillmark::control {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr wchar_t ConsumerRole[] = L"Local\\QuillmarkctlHits";
constexpr wchar_t VersionReplyPrefix[] = L"__ver__:";
constexpr auto PollInterval = 5ms;
constexpr auto RolePatience = 3s;

volatile std::sig_atomic_t interrupted = 0;

void Interrupt(int) {
  interrupted = 1;
}

void Complain(const std::string& text) {
  std::cerr << "quillmarkctl: " << text << std::endl;
}

// Publishes and waits, or says why not.
ExitCode SendBefore(CommandRing& ring, const Command& command, Deadline deadline) {
  if (!ring.Publish(command, deadline)) {
    Complain("the command could not be written in time: the ring is full, or another tool keeps writing");
    return NothingInTime;
  }
  if (!ring.AwaitTaken(deadline)) {
    Complain("no worker took the command in time");
    return NothingInTime;
  }
  return Done;
}

// The text of the reply that answers `command`; nothing for other records.
std::optional<std::wstring> AnswerIn(const Hit& hit, const Command& command) {
  if (!hit.IsReply()) return std::nullopt;
  if (command.kind == CmdKind::Version) {
    if (!hit.name.starts_with(VersionReplyPrefix)) return std::nullopt;
    return hit.name.substr(std::size(VersionReplyPrefix) - 1);
  }
  if (hit.name != (command.name.empty() ? L"HB" : command.name)) return std::nullopt;
  return hit.name;
}

// Nobody waits for the records of a ring that is full while no tool reads it.
void MakeRoom(HitReader& hits) {
  if (hits.WriteIndex() - hits.ReadIndex() < RingSlots) return;
  const Role consumer(ConsumerRole);
  if (!consumer.Held()) return;  // a watch will read them
  const std::uint32_t written = hits.WriteIndex();
  const std::uint32_t unread = written - hits.ReadIndex();
  hits.ConsumeUpTo(written);
  Complain("the hit ring was full and unread; " + std::to_string(unread) + " old records were discarded");
}

// Takes the record if it is the next to be read and no watch will read it.
void TakeUnwatched(HitReader& hits, std::uint32_t index) {
  const Role consumer(ConsumerRole);
  if (consumer.Held() && hits.ReadIndex() == index) hits.ConsumeUpTo(index + 1);
}

}  // namespace

ExitCode Send(const Command& command, std::chrono::milliseconds timeout) {
  CommandRing ring;
  return SendBefore(ring, command, Clock::now() + timeout);
}

ExitCode Ask(const Command& command, std::chrono::milliseconds timeout, bool json) {
  const Deadline deadline = Clock::now() + timeout;
  HitReader hits;
  CommandRing commands;
  MakeRoom(hits);

  std::uint32_t next = hits.WriteIndex();
  const ExitCode sent = SendBefore(commands, command, deadline);
  if (sent != Done) return sent;
  // The ring's event is left alone: one wait would take the signal that a watch waits for.
  for (; Clock::now() < deadline; std::this_thread::sleep_for(PollInterval)) {
    for (; next != hits.WriteIndex(); ++next) {
      const std::optional<Hit> hit = hits.Peek(next);
      if (!hit) continue;
      const std::optional<std::wstring> answer = AnswerIn(*hit, command);
      if (!answer) continue;
      TakeUnwatched(hits, next);
      std::cout << (json ? JsonLine(*hit) : ToUtf8(*answer)) << std::endl;
      return Done;
    }
    MakeRoom(hits);
  }
  Complain("the worker took the command, but no reply came in time");
  return NothingInTime;
}

ExitCode Watch(const WatchOptions& options) {
  HitReader hits;
  // A heartbeat holds the role for a moment, another watch for good.
  const Role consumer(ConsumerRole, Clock::now() + RolePatience);
  if (!consumer.Held()) {
    Complain("another quillmarkctl watch is reading the hits; only one can");
    return WrongUse;
  }

  std::signal(SIGINT, Interrupt);
  std::signal(SIGTERM, Interrupt);

  const Deadline deadline = options.timeout ? Clock::now() + *options.timeout : Deadline::max();
  std::uint32_t found = 0;
  std::uint32_t dropped = hits.Dropped();
  while (interrupted == 0) {
    const std::uint32_t written = hits.WriteIndex();
    std::uint32_t next = hits.ReadIndex();
    if (written - next > RingSlots) {
      Complain("the hit ring's indices are out of step; continuing with its newest records");
      next = written - RingSlots;
    }
    while (next != written && (options.count == 0 || found < options.count)) {
      const std::optional<Hit> hit = hits.Peek(next++);
      if (!hit) continue;
      if (!hit->IsReply()) ++found;
      std::cout << (options.json ? JsonLine(*hit) : TextLine(*hit)) << '\n';
    }
    hits.ConsumeUpTo(next);

    const std::uint32_t nowDropped = hits.Dropped();
    if (const std::uint32_t more = nowDropped - dropped; more != 0) {
      if (options.json)
        std::cout << DroppedJsonLine(more, nowDropped) << '\n';
      else
        Complain("the ring was full; the worker dropped " + std::to_string(more) + " hits");
      dropped = nowDropped;
    }
    if (!std::cout.flush()) {
      Complain("the output cannot be written");
      return WrongUse;
    }
    if (options.count != 0 && found == options.count) return Done;
    const auto left = deadline - Clock::now();
    if (left <= 0ms) break;
    hits.Wait(static_cast<std::uint32_t>(
        std::min<std::int64_t>(100, std::chrono::ceil<std::chrono::milliseconds>(left).count())));
  }
  if (interrupted != 0) return Done;
  return found != 0 && options.count == 0 ? Done : NothingInTime;
}

}  // namespace quillmark::control
