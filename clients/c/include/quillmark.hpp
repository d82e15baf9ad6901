// The C functions of quillmark.h as C++20 with owners, optional values and exceptions. The C functions
// document behaviour and threads; objects can be moved, not copied.
#ifndef QUILLMARK_HPP
#define QUILLMARK_HPP

#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quillmark.h"

namespace quillmark {

using Milliseconds = std::chrono::milliseconds;

// Any failure: the status code and its text.
class Error : public std::runtime_error {
 public:
  Error(qm_status code, const char* text) : std::runtime_error(text), status(code) {}
  [[nodiscard]] qm_status Status() const { return status; }

 private:
  qm_status status;
};

namespace detail {

inline void Check(qm_status status) {
  if (status != QM_OK) throw Error(status, qm_error_text());
}

// A zero would end the text early.
inline const char* Text(const std::string& text) {
  if (text.find('\0') != std::string::npos) throw Error(QM_BAD_TEXT, "a text contains a zero");
  return text.c_str();
}

inline std::uint32_t Timeout(Milliseconds timeout) {
  if (timeout.count() <= 0) return 0;
  return timeout.count() < QM_FOREVER ? static_cast<std::uint32_t>(timeout.count()) : QM_FOREVER;
}

template <auto Destroy>
struct Deleter {
  template <typename Object>
  void operator()(Object* object) const {
    Destroy(object);
  }
};

}  // namespace detail

inline constexpr Milliseconds Forever{QM_FOREVER};

struct Region {
  std::int32_t x = 0, y = 0, width = 0, height = 0;
};

// See qm_spec.
struct Spec {
  std::string target{}, name{}, path{};
  Region region{};
  std::optional<double> maxDifference{}, minScore{};
  double edgeMin = 0.75;
  qm_mode mode = QM_MODE_UNSET;
  qm_preset preset = QM_PRESET_NONE;
  bool red = false;
  Milliseconds interval{0};
  std::int32_t everyNthFrame = 1;
  std::int32_t monitor = 0;

  // Throws Error when it is invalid.
  void Check() const {
    const qm_spec spec = ToC();
    detail::Check(qm_spec_check(&spec));
  }

  // Valid as long as this object.
  [[nodiscard]] qm_spec ToC() const {
    qm_spec spec;
    qm_spec_init(&spec);
    spec.target = detail::Text(target);
    spec.name = detail::Text(name);
    spec.path = detail::Text(path);
    spec.x = region.x;
    spec.y = region.y;
    spec.width = region.width;
    spec.height = region.height;
    spec.max_difference = maxDifference ? Given(*maxDifference) : NAN;
    spec.min_score = minScore ? Given(*minScore) : NAN;
    spec.edge_min = edgeMin;
    spec.mode = mode;
    spec.preset = preset;
    spec.red = red ? 1 : 0;
    if (interval.count() < 0 || interval.count() > INT32_MAX) {
      throw Error(QM_BAD_VALUE, "interval_ms must be between 0 and 2147483647");
    }
    spec.interval_ms = static_cast<std::int32_t>(interval.count());
    spec.every_nth_frame = everyNthFrame;
    spec.monitor = monitor;
    return spec;
  }

 private:
  static double Given(double limit) {
    if (std::isnan(limit)) throw Error(QM_BAD_VALUE, "a limit is not a number");
    return limit;
  }
};

struct Record : qm_record {
  Record() : qm_record{} {}
  Record(const qm_record& record) : qm_record(record) {}  // NOLINT: a record is one
  [[nodiscard]] std::string_view Name() const { return name; }
};

class Client {
 public:
  explicit Client(bool keepUnread = false) {
    qm_client* opened = nullptr;
    detail::Check(qm_open(keepUnread ? QM_KEEP_UNREAD : 0, &opened));
    client.reset(opened);
  }

  void Add(const Spec& spec, Milliseconds timeout = DefaultTimeout) {
    const qm_spec given = spec.ToC();
    detail::Check(qm_add(client.get(), &given, detail::Timeout(timeout)));
  }
  void Remove(const std::string& name, Milliseconds timeout = DefaultTimeout) {
    detail::Check(qm_remove(client.get(), detail::Text(name), detail::Timeout(timeout)));
  }
  void Clear(Milliseconds timeout = DefaultTimeout) {
    detail::Check(qm_clear(client.get(), detail::Timeout(timeout)));
  }
  void Barrier(Milliseconds timeout = DefaultTimeout) {
    detail::Check(qm_barrier(client.get(), detail::Timeout(timeout)));
  }
  [[nodiscard]] std::string Version(Milliseconds timeout = DefaultTimeout) {
    char text[100];
    detail::Check(qm_version(client.get(), text, sizeof text, detail::Timeout(timeout)));
    return text;
  }
  // Returns as soon as there are records; none on timeout.
  [[nodiscard]] std::vector<Record> Read(Milliseconds timeout) {
    qm_record records[64];
    std::size_t count = 0;
    detail::Check(qm_read(client.get(), records, 64, &count, detail::Timeout(timeout)));
    return {records, records + count};
  }
  [[nodiscard]] qm_state Look() {
    qm_state state{};
    detail::Check(qm_look(client.get(), &state));
    return state;
  }

  static constexpr Milliseconds DefaultTimeout{2000};

 private:
  std::unique_ptr<qm_client, detail::Deleter<qm_close>> client;
};

// See qm_watch.
struct Watch {
  std::string name{};
  std::vector<std::string> witnesses{};
  std::int32_t moveTolerance = 1;
  Milliseconds stable{0}, interval{0}, gap{0}, unknown{2000}, lost{0};
};

struct Event : qm_event {
  Event(const qm_event& event) : qm_event(event) {}  // NOLINT: an event is one
  [[nodiscard]] std::string_view Name() const { return hit.name; }
};

class Tracker {
 public:
  Tracker() {
    qm_tracker* created = nullptr;
    detail::Check(qm_tracker_create(&created));
    tracker.reset(created);
  }

  void Begin(const Watch& watch) {
    std::vector<const char*> witnesses;
    for (const std::string& witness : watch.witnesses) witnesses.push_back(detail::Text(witness));
    qm_watch given;
    qm_watch_init(&given);
    given.name = detail::Text(watch.name);
    given.witnesses = witnesses.data();
    given.witness_count = witnesses.size();
    given.move_tolerance = watch.moveTolerance;
    given.stable_ms = detail::Timeout(watch.stable);
    given.interval_ms = detail::Timeout(watch.interval);
    given.gap_ms = detail::Timeout(watch.gap);
    given.unknown_ms = detail::Timeout(watch.unknown);
    given.lost_ms = detail::Timeout(watch.lost);
    detail::Check(qm_tracker_watch(tracker.get(), &given));
  }
  void End(const std::string& name) { detail::Check(qm_tracker_forget(tracker.get(), detail::Text(name))); }
  [[nodiscard]] std::vector<Event> Feed(const Record& record) {
    detail::Check(qm_tracker_feed(tracker.get(), &record));
    return Events();
  }
  [[nodiscard]] std::vector<Event> Advance(std::uint64_t nowMs = qm_now_ms()) {
    detail::Check(qm_tracker_advance(tracker.get(), nowMs));
    return Events();
  }
  [[nodiscard]] qm_sight Sight(const std::string& name) const {
    return qm_tracker_sight(tracker.get(), detail::Text(name));
  }

 private:
  std::vector<Event> Events() {
    std::vector<Event> events;
    for (qm_event event; qm_tracker_next(tracker.get(), &event) != 0;) events.emplace_back(event);
    return events;
  }

  std::unique_ptr<qm_tracker, detail::Deleter<qm_tracker_destroy>> tracker;
};

}  // namespace quillmark

#endif
