// The C functions of a tracker.
#include <algorithm>
#include <deque>
#include <iterator>
#include <string>
#include <vector>

#include "client/ApiCall.h"
#include "client/Text.h"
#include "client/Tracker.h"

using namespace quillmark::client;

struct qm_tracker {
  Tracker tracker;
  std::deque<Event> waiting;
};

namespace {

static_assert(QM_APPEARED == Number(Event::Kind::Appeared) && QM_UNKNOWN == Number(Event::Kind::Unknown));
static_assert(QM_BY_HIT == Number(Event::Reason::Hit) &&
              QM_BY_WORKER_STARTED == Number(Event::Reason::WorkerStarted));
static_assert(QM_SIGHT_PRESENT == Number(Sight::Present) && QM_SIGHT_LOST == Number(Sight::Lost));

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

void Wait(qm_tracker* tracker, std::vector<Event> events) {
  tracker->waiting.insert(tracker->waiting.end(), std::make_move_iterator(events.begin()),
                          std::make_move_iterator(events.end()));
}

}  // namespace

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
