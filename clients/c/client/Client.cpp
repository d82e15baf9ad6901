#include "client/Client.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <utility>

#include "client/Text.h"
#include "ipc/WallClock.h"

namespace quillmark::client {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto LookInterval = 100ms;
constexpr auto TakeoverPatience = 1s;  // the control tool takes the role for moments

std::wstring Hex(std::uint32_t number) {
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(number));
  return {digits, digits + 8};
}

Record News(Record::Kind kind, std::uint32_t count = 0) {
  return {.kind = kind, .tsMs = WallClockMs(), .count = count};
}

}  // namespace

Client::Client(bool keepUnread)
    : consumer(Clock::now() + TakeoverPatience), barrierPrefix(L"__hb__:" + Hex(std::random_device()())) {
  if (!consumer.Held()) throw Taken("another client of this session is reading the hits; only one can");
  if (!keepUnread) hits.ConsumeUpTo(hits.WriteIndex());
  droppedByWorker = hits.Dropped();
}

Outcome Client::Send(const Command& command, Deadline deadline) {
  if (commands.Publish(command, deadline)) return Outcome::Done;
  if (commands.Unread() < RingSlots) return Outcome::Busy;
  return probe.Look().running ? Outcome::Stalled : Outcome::NoWorker;
}

Outcome Client::Ask(const Command& command, std::string_view reply, Deadline deadline) {
  Pump();  // late replies to earlier commands
  answer.reset();
  const Outcome sent = Send(command, deadline);
  if (sent != Outcome::Done) return sent;
  awaited = reply;
  while (Pump(), !answer && Clock::now() < deadline) WaitForHits(deadline);
  awaited.clear();
  WatchWorker();  // the caller should learn of a new worker before it relies on the reply
  if (answer) return Outcome::Done;
  return worker.Last().running ? Outcome::Stalled : Outcome::NoWorker;
}

Outcome Client::Barrier(Deadline deadline) {
  const std::wstring text = barrierPrefix + Hex(++barriers);
  return Ask({.kind = CmdKind::Heartbeat, .name = text}, ToUtf8(text), deadline);
}

Outcome Client::Version(Deadline deadline, std::string& version) {
  const Outcome outcome = Ask({.kind = CmdKind::Version}, VersionReply, deadline);
  if (outcome == Outcome::Done) version = answer->name.substr(VersionReply.size());
  return outcome;
}

std::size_t Client::Read(std::span<Record> records, Deadline deadline) {
  while (Pump(), queue.empty() && Clock::now() < deadline) WaitForHits(deadline);
  const std::size_t count = std::min(records.size(), queue.size());
  const auto end = queue.begin() + static_cast<std::ptrdiff_t>(count);
  std::move(queue.begin(), end, records.begin());
  queue.erase(queue.begin(), end);
  return count;
}

State Client::Look() {
  Pump();
  WatchWorker();
  return {worker.Last().running, commands.Unread(), static_cast<std::uint32_t>(queue.size()), dropped,
          workerStarts};
}

void Client::Pump() {
  const std::uint32_t written = hits.WriteIndex();
  std::uint32_t next = hits.ReadIndex();
  std::uint32_t lost = 0;
  if (written - next > RingSlots) {  // another program has changed the indices
    lost = written - next - RingSlots;
    next = written - RingSlots;
  }
  // Read after the write index, so it includes every hit dropped before the newest record.
  const std::uint32_t refused = hits.Dropped();
  lost += refused - droppedByWorker;
  droppedByWorker = refused;
  dropped += lost;
  if (lost != 0) Push(News(Record::Kind::Dropped, lost));

  for (; next != written; ++next) {
    std::optional<Record> record = hits.Peek(next);
    if (record) Push(*std::move(record));
  }
  hits.ConsumeUpTo(written);
  if (Clock::now() >= nextLook) WatchWorker();
}

void Client::WatchWorker() {
  nextLook = Clock::now() + LookInterval;
  const WorkerNews news = worker.Add(probe.Look());
  if (news.gone) Push(News(Record::Kind::WorkerGone));
  if (news.started) Push(News(Record::Kind::WorkerStarted));
  if (news.started) ++workerStarts;
}

void Client::WaitForHits(Deadline deadline) const {
  const auto left = std::min<Clock::duration>(deadline - Clock::now(), LookInterval);
  if (left <= 0ms) return;
  hits.Wait(static_cast<std::uint32_t>(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
}

void Client::Push(Record record) {
  if (record.kind == Record::Kind::Reply) {
    if (!awaited.empty() && !answer && record.name.starts_with(awaited)) {
      answer = std::move(record);
      return;
    }
    // The reply to a barrier that timed out.
    if (record.name.starts_with(ToUtf8(barrierPrefix))) return;
  }
  if (queue.size() >= QueueLimit) DropHits();
  queue.push_back(std::move(record));
}

void Client::DropHits() {
  std::uint32_t known = 0, hitsLost = 0;
  std::erase_if(queue, [&](const Record& record) {
    if (record.kind == Record::Kind::Dropped) known += record.count;
    if (record.kind == Record::Kind::Hit) ++hitsLost;
    return record.kind != Record::Kind::WorkerGone && record.kind != Record::Kind::WorkerStarted;
  });
  dropped += hitsLost;
  queue.push_back(News(Record::Kind::Dropped, known + hitsLost));
}

}  // namespace quillmark::client
