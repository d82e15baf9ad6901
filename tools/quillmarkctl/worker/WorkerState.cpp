#include "worker/WorkerState.h"

#include "client/WorkerProbe.h"
#include "host/WorkerProcess.h"
#include "worker/Requests.h"

namespace quillmark::control {

WorkerState GlanceAtWorker() {
  WorkerState state;
  const client::WorkerSight sight = client::WorkerProbe().Look();
  state.running = sight.running;
  state.identity = sight.identity;
  const host::WorkerProcess process = host::ProcessOf(sight.identity);
  state.process = process.id;
  state.startedMs = process.startedMs;
  // Rings that nobody else holds are created empty and vanish with this process.
  const HitReader hits;
  const CommandRing commands;
  state.unreadCommands = commands.Unread();
  state.unreadHits = hits.WriteIndex() - hits.ReadIndex();
  state.droppedHits = hits.Dropped();
  state.hasReader = !HitConsumer().Held();
  if (!state.running && state.unreadCommands != 0) state.reasons.push_back(reasons::Reason::CommandNotRead);
  if (state.unreadHits >= RingSlots) state.reasons.push_back(reasons::Reason::RingFull);
  return state;
}

WorkerState LookAtWorker(std::chrono::milliseconds timeout, Output& output) {
  WorkerState state = GlanceAtWorker();
  if (!state.running) {
    state.silence = "no worker is running in this session";
    return state;
  }
  if (state.unreadHits >= RingSlots && !state.hasReader) {
    state.silence = "not asked, because the hit ring is full and nobody reads it";
    return state;
  }
  const Answer heartbeat = Ask({.kind = CmdKind::Heartbeat, .name = L"status"}, timeout, output);
  if (!heartbeat.reply) {
    state.silence = heartbeat.failure;
    state.unreadCommands = CommandRing().Unread();
    if (state.unreadCommands != 0) state.reasons.push_back(reasons::Reason::CommandNotRead);
    return state;
  }
  state.answers = true;
  state.roundTripMs = heartbeat.roundTrip.count();
  const Command question{.kind = CmdKind::Version};
  const Answer version = Ask(question, timeout, output);
  if (version.reply) state.version = *AnswerIn(*version.reply, question);
  return state;
}

Json JsonOf(const WorkerState& state) {
  Json object = {{"running", state.running}, {"answers", state.answers}};
  if (!state.silence.empty()) object["silence"] = state.silence;
  if (state.answers) object["roundTripMs"] = state.roundTripMs;
  if (!state.version.empty()) object["version"] = state.version;
  if (state.process != 0) object["process"] = state.process;
  if (state.startedMs != 0) object["startedTs"] = state.startedMs;
  object["unreadCommands"] = state.unreadCommands;
  object["unreadHits"] = state.unreadHits;
  object["droppedHits"] = state.droppedHits;
  object["hasReader"] = state.hasReader;
  object["reasons"] = Json::array();
  for (const reasons::Reason reason : state.reasons) object["reasons"].push_back(reasons::CodeOf(reason));
  return object;
}

}  // namespace quillmark::control
