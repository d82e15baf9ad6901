// The C functions over the classes: arguments in, exceptions and outcomes to status codes.
#include "quillmark.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/Client.h"
#include "client/Refused.h"
#include "client/Text.h"
#include "client/Tracker.h"
#include "ipc/WallClock.h"

using namespace quillmark::client;

struct qm_client {
  Client client;
};

struct qm_tracker {
  Tracker tracker;
  std::deque<Event> waiting;
};

namespace {

static_assert(QM_TARGET_UNITS == TargetUnits && QM_NAME_UNITS == NameUnits && QM_PATH_UNITS == PathUnits &&
              QM_HIT_NAME_UNITS == HitNameUnits);
// The enumerations of both sides count alike.
template <typename Enum>
constexpr int Number(Enum value) {
  return static_cast<int>(value);
}
static_assert(QM_MODE_GRAY == Number(Mode::Gray) && QM_MODE_HS == Number(Mode::HS));
static_assert(QM_PRESET_FAST == Number(Preset::Fast) && QM_PRESET_STRICT == Number(Preset::Strict));
static_assert(QM_HIT == Number(Record::Kind::Hit) &&
              QM_WORKER_STARTED == Number(Record::Kind::WorkerStarted));
static_assert(QM_APPEARED == Number(Event::Kind::Appeared) && QM_UNKNOWN == Number(Event::Kind::Unknown));
static_assert(QM_BY_HIT == Number(Event::Reason::Hit) &&
              QM_BY_WORKER_STARTED == Number(Event::Reason::WorkerStarted));
static_assert(QM_SIGHT_PRESENT == Number(Sight::Present) && QM_SIGHT_LOST == Number(Sight::Lost));
// A UTF-16 unit is at most three bytes of UTF-8.
static_assert(sizeof(qm_record{}.name) > 3 * (HitNameUnits + 1));

thread_local std::string errorText;

qm_status Fail(qm_status status, const char* text) noexcept {
  try {
    errorText = text;
  } catch (...) {
    errorText.clear();
  }
  return status;
}

qm_status StatusOf(Refusal refusal) {
  switch (refusal) {
    case Refusal::TooLong:
      return QM_TOO_LONG;
    case Refusal::BadText:
      return QM_BAD_TEXT;
    case Refusal::BadValue:
      return QM_BAD_VALUE;
  }
  return QM_BAD_VALUE;
}

qm_status StatusOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Done:
      return QM_OK;
    case Outcome::NoWorker:
      return Fail(QM_NO_WORKER, "no worker runs");
    case Outcome::Stalled:
      return Fail(QM_STALLED, "a worker runs, but did not take or answer the command in time");
    case Outcome::Busy:
      return Fail(QM_BUSY, "another client kept writing commands");
  }
  return QM_SYSTEM;
}

struct BadCall {
  const char* text;
};

// Runs a function's body; what it raises becomes the status and the text.
template <typename Body>
qm_status Guarded(const Body& body) noexcept {
  try {
    return body();
  } catch (const BadCall& call) {
    return Fail(QM_BAD_CALL, call.text);
  } catch (const Refused& refused) {
    return Fail(StatusOf(refused.Why()), refused.what());
  } catch (const Taken& taken) {
    return Fail(QM_BUSY, taken.what());
  } catch (const std::bad_alloc&) {
    return Fail(QM_NO_MEMORY, "out of memory");
  } catch (const std::exception& error) {
    return Fail(QM_SYSTEM, error.what());
  } catch (...) {
    return Fail(QM_SYSTEM, "unknown error");
  }
}

template <typename... Pointers>
void RequireAll(const Pointers*... pointers) {
  if ((... || (pointers == nullptr))) throw BadCall{"a pointer is null"};
}

Deadline After(std::uint32_t timeoutMs) {
  if (timeoutMs == QM_FOREVER) return Deadline::max();
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
}

// A structure that a caller of another version filled: what it does not have keeps its default.
template <typename Structure>
Structure Complete(const Structure& given, void (*init)(Structure*)) {
  Structure complete;
  init(&complete);
  std::uint32_t size = 0;
  std::memcpy(&size, &given, sizeof size);
  if (size < sizeof size || size > sizeof complete) throw BadCall{"a structure was not initialised"};
  std::memcpy(&complete, &given, size);
  return complete;
}

std::string TextOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

std::optional<double> GivenIn(double value) {
  return std::isnan(value) ? std::nullopt : std::optional(value);
}

template <typename Enum>
Enum EnumOf(std::int32_t value, Enum last, const char* what) {
  if (value < 0 || value > static_cast<int>(last))
    throw Refused(Refusal::BadValue, what, "is none of its values");
  return static_cast<Enum>(value);
}

Spec SpecOf(const qm_spec* given) {
  RequireAll(given);
  const qm_spec all = Complete(*given, qm_spec_init);
  Spec spec;
  spec.target = TextOf(all.target);
  spec.name = TextOf(all.name);
  spec.path = TextOf(all.path);
  spec.x = all.x;
  spec.y = all.y;
  spec.width = all.width;
  spec.height = all.height;
  spec.maxDifference = GivenIn(all.max_difference);
  spec.minScore = GivenIn(all.min_score);
  spec.edgeMin = all.edge_min;
  spec.mode = EnumOf(all.mode, Mode::HS, "mode");
  spec.preset = EnumOf(all.preset, Preset::Strict, "preset");
  spec.red = all.red != 0;
  spec.intervalMs = all.interval_ms;
  spec.everyNthFrame = all.every_nth_frame;
  spec.monitor = all.monitor;
  return spec;
}

qm_record ToC(const Record& record) {
  qm_record result{};
  result.kind = static_cast<std::int32_t>(record.kind);
  result.count = record.count;
  result.ts_ms = record.tsMs;
  result.cx = record.cx;
  result.cy = record.cy;
  result.w = record.w;
  result.h = record.h;
  result.score = record.score;
  result.edge = record.edge;
  const std::size_t length = std::min(record.name.size(), sizeof result.name - 1);
  std::memcpy(result.name, record.name.data(), length);
  return result;
}

Record FromC(const qm_record& given) {
  Record record;
  record.kind = EnumOf(given.kind, Record::Kind::WorkerStarted, "the record's kind");
  record.count = given.count;
  record.tsMs = given.ts_ms;
  record.cx = given.cx;
  record.cy = given.cy;
  record.w = given.w;
  record.h = given.h;
  record.score = given.score;
  record.edge = given.edge;
  record.name.assign(given.name, std::find(given.name, given.name + sizeof given.name, '\0'));
  return record;
}

qm_status Send(qm_client* client, const Command& command, std::uint32_t timeoutMs) {
  return StatusOf(client->client.Send(command, After(timeoutMs)));
}

void Wait(qm_tracker* tracker, std::vector<Event> events) {
  tracker->waiting.insert(tracker->waiting.end(), std::make_move_iterator(events.begin()),
                          std::make_move_iterator(events.end()));
}

}  // namespace

const char* qm_error_text() {
  return errorText.c_str();
}

const char* qm_library_version() {
  return QUILLMARK_VERSION;
}

void qm_spec_init(qm_spec* spec) {
  if (spec == nullptr) return;
  *spec = {};
  spec->size = sizeof *spec;
  spec->max_difference = spec->min_score = std::numeric_limits<double>::quiet_NaN();
  spec->edge_min = Spec{}.edgeMin;
  spec->every_nth_frame = 1;
}

qm_status qm_spec_check(const qm_spec* spec) {
  return Guarded([&] {
    (void)CommandFor(SpecOf(spec));
    return QM_OK;
  });
}

qm_status qm_open(uint32_t flags, qm_client** client) {
  return Guarded([&] {
    RequireAll(client);
    if ((flags & ~static_cast<std::uint32_t>(QM_KEEP_UNREAD)) != 0) throw BadCall{"an unknown flag is set"};
    *client = new qm_client{Client((flags & QM_KEEP_UNREAD) != 0)};
    return QM_OK;
  });
}

void qm_close(qm_client* client) {
  delete client;
}

qm_status qm_add(qm_client* client, const qm_spec* spec, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client);
    return Send(client, CommandFor(SpecOf(spec)), timeout_ms);
  });
}

qm_status qm_remove(qm_client* client, const char* name, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client, name);
    return Send(client, RemovalOf(name), timeout_ms);
  });
}

qm_status qm_clear(qm_client* client, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client);
    return Send(client, Command{.kind = quillmark::CmdKind::Clear}, timeout_ms);
  });
}

qm_status qm_barrier(qm_client* client, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client);
    return StatusOf(client->client.Barrier(After(timeout_ms)));
  });
}

qm_status qm_version(qm_client* client, char* version, size_t capacity, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client, version);
    std::string text;
    const qm_status status = StatusOf(client->client.Version(After(timeout_ms), text));
    if (status != QM_OK) return status;
    if (text.size() >= capacity) return Fail(QM_TOO_LONG, "the version does not fit");
    std::memcpy(version, text.c_str(), text.size() + 1);
    return QM_OK;
  });
}

qm_status qm_read(qm_client* client, qm_record* records, size_t capacity, size_t* count,
                  uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client, records, count);
    if (capacity == 0) throw BadCall{"there is no place for a record"};
    std::vector<Record> read(std::min(capacity, std::size_t{1024}));
    *count = client->client.Read(read, After(timeout_ms));
    std::transform(read.begin(), read.begin() + static_cast<std::ptrdiff_t>(*count), records, ToC);
    return QM_OK;
  });
}

qm_status qm_look(qm_client* client, qm_state* state) {
  return Guarded([&] {
    RequireAll(client, state);
    const State now = client->client.Look();
    *state = {now.workerRunning ? 1 : 0, now.workerStarts, now.unreadCommands, now.queuedRecords,
              now.dropped};
    return QM_OK;
  });
}

void qm_watch_init(qm_watch* watch) {
  if (watch == nullptr) return;
  *watch = {};
  watch->size = sizeof *watch;
  watch->move_tolerance = Watch{}.moveTolerance;
  watch->unknown_ms = Watch{}.unknownMs;
}

qm_status qm_tracker_create(qm_tracker** tracker) {
  return Guarded([&] {
    RequireAll(tracker);
    *tracker = new qm_tracker;
    return QM_OK;
  });
}

void qm_tracker_destroy(qm_tracker* tracker) {
  delete tracker;
}

qm_status qm_tracker_watch(qm_tracker* tracker, const qm_watch* watch) {
  return Guarded([&] {
    RequireAll(tracker, watch);
    const qm_watch all = Complete(*watch, qm_watch_init);
    Watch spec;
    spec.name = TextOf(all.name);
    (void)NonEmptyField("name", spec.name, HitNameUnits);
    if (all.witness_count != 0) RequireAll(all.witnesses);
    for (std::size_t i = 0; i < all.witness_count; ++i) spec.witnesses.push_back(TextOf(all.witnesses[i]));
    spec.moveTolerance = all.move_tolerance;
    spec.stableMs = all.stable_ms;
    spec.intervalMs = all.interval_ms;
    spec.gapMs = all.gap_ms;
    spec.unknownMs = all.unknown_ms;
    spec.lostMs = all.lost_ms;
    tracker->tracker.Begin(spec);
    return QM_OK;
  });
}

qm_status qm_tracker_forget(qm_tracker* tracker, const char* name) {
  return Guarded([&] {
    RequireAll(tracker, name);
    tracker->tracker.End(name);
    return QM_OK;
  });
}

qm_status qm_tracker_feed(qm_tracker* tracker, const qm_record* record) {
  return Guarded([&] {
    RequireAll(tracker, record);
    Wait(tracker, tracker->tracker.Feed(FromC(*record)));
    return QM_OK;
  });
}

qm_status qm_tracker_advance(qm_tracker* tracker, uint64_t now_ms) {
  return Guarded([&] {
    RequireAll(tracker);
    Wait(tracker, tracker->tracker.Advance(now_ms));
    return QM_OK;
  });
}

int qm_tracker_next(qm_tracker* tracker, qm_event* event) {
  if (tracker == nullptr || event == nullptr || tracker->waiting.empty()) return 0;
  const Event& oldest = tracker->waiting.front();
  *event = {static_cast<std::int32_t>(oldest.kind),
            static_cast<std::int32_t>(oldest.reason),
            static_cast<std::int32_t>(oldest.was),
            0,
            oldest.tsMs,
            oldest.stableMs,
            ToC(oldest.hit)};
  tracker->waiting.pop_front();
  return 1;
}

qm_sight qm_tracker_sight(const qm_tracker* tracker, const char* name) {
  qm_sight sight = QM_SIGHT_UNKNOWN;
  (void)Guarded([&] {
    RequireAll(tracker, name);
    sight = static_cast<qm_sight>(tracker->tracker.Of(name));
    return QM_OK;
  });
  return sight;
}

uint64_t qm_now_ms() {
  return quillmark::WallClockMs();
}
