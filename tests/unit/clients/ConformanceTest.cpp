// The shared library against the file that every client is held to, once through each of its headers. The
// bytes in the rings are looked at and written by a controller and a worker of another make.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "quillmark.hpp"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

using Json = nlohmann::json;

const Json& Vectors() {
  static const Json vectors = Json::parse(std::ifstream(VECTORS));
  return vectors;
}

// Half a surrogate pair as bytes that look like UTF-8.
std::string TextOf(const std::string& text) {
  const std::size_t at = text.find("<D800>");
  return at == std::string::npos ? text : text.substr(0, at) + "\xED\xA0\x80" + text.substr(at + 6);
}

int IndexIn(const std::vector<std::string>& words, const std::string& word) {
  const auto found = std::find(words.begin(), words.end(), word);
  EXPECT_NE(found, words.end()) << word;
  return static_cast<int>(found - words.begin());
}
const std::vector<std::string> Modes{"", "gray", "bgr", "s", "h", "hs"};
const std::vector<std::string> Presets{"", "fast", "strict"};
const std::vector<std::string> RecordKinds{"hit", "reply", "dropped", "worker_gone", "worker_started"};
const std::vector<std::string> EventKinds{"appeared", "moved", "stable", "lost", "unknown"};
const std::vector<std::string> Reasons{"hit", "witness", "silence", "worker_gone", "worker_started"};
const std::vector<std::string> Sights{"unknown", "present", "lost"};

qm_status StatusOf(const std::string& error) {
  return error == "too_long" ? QM_TOO_LONG : error == "bad_text" ? QM_BAD_TEXT : QM_BAD_VALUE;
}

qm_record RecordOf(const Json& step) {
  qm_record record{};
  for (std::size_t kind = 0; kind < RecordKinds.size(); ++kind) {
    if (!step.contains(RecordKinds[kind])) continue;
    const Json& value = step[RecordKinds[kind]];
    record.kind = static_cast<std::int32_t>(kind);
    record.ts_ms = kind == QM_HIT ? value[1].get<std::uint64_t>() : value.get<std::uint64_t>();
    if (kind != QM_HIT) continue;
    std::strcpy(record.name, value[0].get<std::string>().c_str());
    record.cx = value[2];
    record.cy = value[3];
    record.w = record.h = 10;
  }
  return record;
}

// What a call came to.
struct Result {
  qm_status status = QM_OK;
  std::string text;
};

// The client through the C header alone.
class ThroughC {
 public:
  explicit ThroughC(bool keepUnread = false) {
    EXPECT_EQ(qm_open(keepUnread ? QM_KEEP_UNREAD : 0, &client), QM_OK) << qm_error_text();
    EXPECT_EQ(qm_tracker_create(&tracker), QM_OK);
  }
  ~ThroughC() {
    qm_close(client);
    qm_tracker_destroy(tracker);
  }

  Result Call(const Json& call) {
    qm_status status = QM_OK;
    if (call.contains("remove")) {
      status = qm_remove(client, TextOf(call["remove"]).c_str(), 0);
    } else if (call.contains("clear")) {
      status = qm_clear(client, 0);
    } else {
      const Json& spec = call["add"];
      const std::string target = TextOf(spec["target"]), name = TextOf(spec["name"]),
                        path = TextOf(spec["path"]);
      qm_spec c;
      qm_spec_init(&c);
      c.target = target.c_str();
      c.name = name.c_str();
      c.path = path.c_str();
      c.x = spec["region"][0];
      c.y = spec["region"][1];
      c.width = spec["region"][2];
      c.height = spec["region"][3];
      c.max_difference = spec.value("max_difference", c.max_difference);
      c.min_score = spec.value("min_score", c.min_score);
      c.edge_min = spec.value("edge_min", c.edge_min);
      c.mode = IndexIn(Modes, spec.value("mode", ""));
      c.preset = IndexIn(Presets, spec.value("preset", ""));
      c.red = spec.value("red", false);
      c.interval_ms = spec.value("interval_ms", c.interval_ms);
      c.every_nth_frame = spec.value("every_nth_frame", c.every_nth_frame);
      c.monitor = spec.value("monitor", c.monitor);
      status = qm_add(client, &c, 0);
      EXPECT_EQ(qm_spec_check(&c), status >= QM_TOO_LONG ? status : QM_OK);
    }
    return {status, status == QM_OK ? "" : qm_error_text()};
  }

  std::vector<qm_record> Read() {
    std::vector<qm_record> records(200);
    std::size_t count = 0;
    EXPECT_EQ(qm_read(client, records.data(), records.size(), &count, 0), QM_OK) << qm_error_text();
    records.resize(count);
    return records;
  }

  void Watch(const Json& watch) {
    const std::string name = watch["name"];
    const std::vector<std::string> names = watch.value("witnesses", std::vector<std::string>());
    std::vector<const char*> witnesses;
    for (const std::string& witness : names) witnesses.push_back(witness.c_str());
    qm_watch c;
    qm_watch_init(&c);
    c.name = name.c_str();
    c.witnesses = witnesses.data();
    c.witness_count = witnesses.size();
    c.move_tolerance = watch.value("move_tolerance", c.move_tolerance);
    c.stable_ms = watch.value("stable_ms", c.stable_ms);
    c.interval_ms = watch.value("interval_ms", c.interval_ms);
    c.unknown_ms = watch.value("unknown_ms", c.unknown_ms);
    c.lost_ms = watch.value("lost_ms", c.lost_ms);
    EXPECT_EQ(qm_tracker_watch(tracker, &c), QM_OK) << qm_error_text();
  }

  std::vector<qm_event> Step(const Json& step) {
    const qm_record record = RecordOf(step);
    EXPECT_EQ(step.contains("advance") ? qm_tracker_advance(tracker, step["advance"])
                                       : qm_tracker_feed(tracker, &record),
              QM_OK);
    std::vector<qm_event> events;
    for (qm_event event; qm_tracker_next(tracker, &event) != 0;) events.push_back(event);
    return events;
  }

 private:
  qm_client* client = nullptr;
  qm_tracker* tracker = nullptr;
};

// The same through the C++ header.
class ThroughCpp {
 public:
  explicit ThroughCpp(bool keepUnread = false) : client(keepUnread) {}

  Result Call(const Json& call) {
    try {
      if (call.contains("remove")) {
        client.Remove(TextOf(call["remove"]), Milliseconds(0));
      } else if (call.contains("clear")) {
        client.Clear(Milliseconds(0));
      } else {
        const Json& given = call["add"];
        Spec spec;
        spec.target = TextOf(given["target"]);
        spec.name = TextOf(given["name"]);
        spec.path = TextOf(given["path"]);
        spec.region = {given["region"][0], given["region"][1], given["region"][2], given["region"][3]};
        if (given.contains("max_difference")) spec.maxDifference = given["max_difference"];
        if (given.contains("min_score")) spec.minScore = given["min_score"];
        spec.edgeMin = given.value("edge_min", spec.edgeMin);
        spec.mode = static_cast<qm_mode>(IndexIn(Modes, given.value("mode", "")));
        spec.preset = static_cast<qm_preset>(IndexIn(Presets, given.value("preset", "")));
        spec.red = given.value("red", false);
        spec.interval = Milliseconds(given.value("interval_ms", 0));
        spec.everyNthFrame = given.value("every_nth_frame", 1);
        spec.monitor = given.value("monitor", 0);
        client.Add(spec, Milliseconds(0));
      }
    } catch (const Error& error) {
      return {error.Status(), error.what()};
    }
    return {};
  }

  std::vector<qm_record> Read() {
    std::vector<qm_record> records;
    for (auto more = client.Read(Milliseconds(0)); !more.empty(); more = client.Read(Milliseconds(0))) {
      records.insert(records.end(), more.begin(), more.end());
    }
    return records;
  }

  void Watch(const Json& given) {
    quillmark::Watch watch;
    watch.name = given["name"];
    watch.witnesses = given.value("witnesses", std::vector<std::string>());
    watch.moveTolerance = given.value("move_tolerance", watch.moveTolerance);
    watch.stable = Milliseconds(given.value("stable_ms", 0));
    watch.interval = Milliseconds(given.value("interval_ms", 0));
    watch.unknown = Milliseconds(given.value("unknown_ms", 2000));
    watch.lost = Milliseconds(given.value("lost_ms", 0));
    tracker.Begin(watch);
  }

  std::vector<qm_event> Step(const Json& step) {
    const auto events =
        step.contains("advance") ? tracker.Advance(step["advance"]) : tracker.Feed(RecordOf(step));
    return {events.begin(), events.end()};
  }

 private:
  Client client;
  Tracker tracker;
};

// The bytes of a slot that gives them by offset; the others are 0.
template <std::size_t Size>
std::array<std::uint8_t, Size> BytesOf(const Json& slot) {
  std::array<std::uint8_t, Size> bytes{};
  for (const auto& [offset, hex] : slot.items()) {
    const std::string digits = hex;
    for (std::size_t i = 0; i < digits.size() / 2; ++i) {
      bytes.at(std::stoul(offset) + i) =
          static_cast<std::uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
    }
  }
  return bytes;
}

template <typename Library>
class Conformance : public testing::Test {
 protected:
  static constexpr std::size_t CommandSlot = 320, HitSlot = 128, Header = 16;

  std::array<std::uint8_t, CommandSlot> Command(std::uint32_t slot) const {
    std::array<std::uint8_t, CommandSlot> bytes;
    std::memcpy(bytes.data(), rings.Commands() + Header + CommandSlot * slot, CommandSlot);
    return bytes;
  }
  void SpoilCommands() { std::memset(rings.Commands() + Header, 0xAA, CommandSlot * 64); }

  const PrivateSession session;
  RawController rings;
};

using Headers = testing::Types<ThroughC, ThroughCpp>;
TYPED_TEST_SUITE(Conformance, Headers);

TYPED_TEST(Conformance, CommandsAreTheirBytes) {
  TypeParam library;
  std::uint32_t index = 0;
  for (const Json& vector : Vectors()["commands"]) {
    this->SpoilCommands();
    const Result result = library.Call(vector);
    EXPECT_EQ(result.status, QM_OK) << vector["case"] << result.text;
    EXPECT_EQ(this->Command(index % 64), BytesOf<320>(vector["slot"])) << vector["case"];
    EXPECT_EQ(this->rings.CommandWord(WriteIndex), ++index);
    this->rings.SetCommandWord(ReadIndex, index);
  }
}

TYPED_TEST(Conformance, WhatCannotBeSaidIsRefused) {
  TypeParam library;
  for (const Json& vector : Vectors()["refusals"]) {
    const Result result = library.Call(vector);
    EXPECT_EQ(result.status, StatusOf(vector["error"])) << vector["case"] << result.text;
    EXPECT_NE(result.text.find(vector["what"]), std::string::npos) << vector["case"] << result.text;
  }
  EXPECT_EQ(this->rings.CommandWord(WriteIndex), 0u);
}

TYPED_TEST(Conformance, CommandIndicesWrapAndNeverRunAhead) {
  TypeParam library;
  for (const Json& vector : Vectors()["command_indices"]) {
    this->rings.SetCommandWord(WriteIndex, vector["write"]);
    this->rings.SetCommandWord(ReadIndex, vector["read"]);
    this->SpoilCommands();
    for (const Json& slot : vector["slots"]) {
      EXPECT_EQ(library.Call({{"clear", true}}).status, QM_OK) << vector["case"];
      EXPECT_EQ(this->Command(slot)[0], 3) << vector["case"];
    }
    if (vector["slots"].empty()) {
      EXPECT_EQ(library.Call({{"clear", true}}).status, QM_NO_WORKER) << vector["case"];
    }
    EXPECT_EQ(this->rings.CommandWord(WriteIndex), vector["end"]) << vector["case"];
  }
}

TYPED_TEST(Conformance, BytesAreTheirRecords) {
  TypeParam library;
  for (const Json& vector : Vectors()["records"]) {
    const std::uint32_t index = this->rings.HitWord(WriteIndex);
    const auto bytes = BytesOf<128>(vector["slot"]);
    std::memcpy(this->rings.Hits() + 16 + 128 * (index % 64), bytes.data(), bytes.size());
    this->rings.SetHitWord(WriteIndex, index + 1);
    const std::vector<qm_record> records = library.Read();
    ASSERT_EQ(records.size(), 1u) << vector["case"];
    const qm_record& record = records[0];
    const Json read{{"kind", RecordKinds.at(static_cast<std::size_t>(record.kind))},
                    {"ts_ms", record.ts_ms},
                    {"cx", record.cx},
                    {"cy", record.cy},
                    {"w", record.w},
                    {"h", record.h},
                    {"score", record.score},
                    {"edge", record.edge},
                    {"name", record.name}};
    EXPECT_EQ(read, vector["record"]) << vector["case"];
  }
}

TYPED_TEST(Conformance, HitIndicesWrap) {
  for (std::uint32_t slot = 0; slot < 64; ++slot) {
    std::memcpy(this->rings.Hits() + 16 + 128 * slot, &slot, sizeof slot);  // its time tells it
    this->rings.Hits()[16 + 128 * slot + 16] = std::byte{1};                // and its width that it is a hit
  }
  for (const Json& vector : Vectors()["hit_indices"]) {
    this->rings.SetHitWord(WriteIndex, vector["write"]);
    this->rings.SetHitWord(ReadIndex, vector["read"]);
    TypeParam library(true);
    std::vector<std::uint32_t> slots;
    std::uint32_t dropped = 0;
    for (const qm_record& record : library.Read()) {
      if (record.kind == QM_HIT) slots.push_back(static_cast<std::uint32_t>(record.ts_ms));
      if (record.kind == QM_DROPPED && slots.empty()) dropped += record.count;
    }
    EXPECT_EQ(slots, vector["slots"].get<std::vector<std::uint32_t>>()) << vector["case"];
    EXPECT_EQ(dropped, vector["dropped"]) << vector["case"];
    EXPECT_EQ(this->rings.HitWord(ReadIndex), vector["write"]) << vector["case"];
  }
}

TYPED_TEST(Conformance, GarbageInTheHitSectionIsReadOnceAsRecords) {
  TypeParam library;
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    std::generate_n(this->rings.Hits(), RawController::HitBytes,
                    [&] { return static_cast<std::byte>(random()); });
    std::vector<qm_record> records = library.Read();
    std::erase_if(records, [](const qm_record& record) { return record.kind == QM_DROPPED; });
    EXPECT_LE(records.size(), 64u) << seed;
    for (const qm_record& record : records) {
      EXPECT_LE(record.kind, QM_REPLY) << seed;
      EXPECT_NO_THROW((void)Json(record.name).dump()) << seed << ": no UTF-8";
    }
    EXPECT_EQ(this->rings.HitWord(ReadIndex), this->rings.HitWord(WriteIndex)) << seed;
    EXPECT_TRUE(library.Read().empty()) << seed;
  }
}

TYPED_TEST(Conformance, RecordsBecomeTheirEvents) {
  for (const Json& vector : Vectors()["events"]) {
    TypeParam library;
    library.Watch(vector["watch"]);
    for (const Json& step : vector["steps"]) {
      if (step.contains("watch")) {
        library.Watch(vector["watch"]);
        continue;
      }
      Json told = Json::array();
      for (const qm_event& event : library.Step(step)) {
        told.push_back({EventKinds.at(static_cast<std::size_t>(event.kind)),
                        Reasons.at(static_cast<std::size_t>(event.reason)),
                        Sights.at(static_cast<std::size_t>(event.was))});
        if (event.kind == QM_STABLE) told.back().push_back(event.stable_ms);
        EXPECT_EQ(event.hit.name, vector["watch"]["name"]);
      }
      EXPECT_EQ(told, step.value("expect", Json::array())) << vector["case"] << ' ' << step;
    }
  }
}

}  // namespace
}  // namespace quillmark::test
