// Runs the conformance file that every client must pass on the shared library, through its C++ header.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <functional>
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
const std::vector<std::string> RecordKinds{"hit", "reply", "dropped", "worker_gone", "worker_started"};
const std::vector<std::string> EventKinds{"appeared", "moved", "stable", "lost", "unknown"};
const std::vector<std::string> Reasons{"hit", "witness", "silence", "worker_gone", "worker_started"};
const std::vector<std::string> Sights{"unknown", "present", "lost"};

Spec SpecOf(const Json& given) {
  Spec spec;
  spec.target = TextOf(given["target"]);
  spec.name = TextOf(given["name"]);
  spec.path = TextOf(given["path"]);
  spec.region = {given["region"][0], given["region"][1], given["region"][2], given["region"][3]};
  if (given.contains("max_difference")) spec.maxDifference = given["max_difference"];
  if (given.contains("min_score")) spec.minScore = given["min_score"];
  spec.edgeMin = given.value("edge_min", spec.edgeMin);
  spec.mode = static_cast<qm_mode>(IndexIn({"", "gray", "bgr", "s", "h", "hs"}, given.value("mode", "")));
  spec.preset = static_cast<qm_preset>(IndexIn({"", "fast", "strict"}, given.value("preset", "")));
  spec.red = given.value("red", false);
  spec.interval = Milliseconds(given.value("interval_ms", 0));
  spec.everyNthFrame = given.value("every_nth_frame", 1);
  spec.monitor = given.value("monitor", 0);
  return spec;
}

quillmark::Watch WatchOf(const Json& given) {
  quillmark::Watch watch;
  watch.name = given["name"];
  watch.witnesses = given.value("witnesses", std::vector<std::string>());
  watch.moveTolerance = given.value("move_tolerance", watch.moveTolerance);
  watch.stable = Milliseconds(given.value("stable_ms", 0));
  watch.interval = Milliseconds(given.value("interval_ms", 0));
  watch.unknown = Milliseconds(given.value("unknown_ms", 2000));
  watch.lost = Milliseconds(given.value("lost_ms", 0));
  return watch;
}

std::vector<Event> Step(Tracker& tracker, const Json& step) {
  if (step.contains("advance")) return tracker.Advance(step["advance"]);
  qm_record record{};
  while (!step.contains(RecordKinds.at(static_cast<std::size_t>(record.kind)))) ++record.kind;
  const Json& value = step[RecordKinds[static_cast<std::size_t>(record.kind)]];
  record.ts_ms = record.kind == QM_HIT ? value[1] : value;
  if (record.kind == QM_HIT) {
    std::strcpy(record.name, value[0].get<std::string>().c_str());
    record.cx = value[2];
    record.cy = value[3];
    record.w = record.h = 10;
  }
  return tracker.Feed(record);
}

// The bytes of a slot, given by offset; the others are 0.
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

class Conformance : public testing::Test {
 protected:
  static constexpr std::size_t CommandSlot = 320, HitSlot = 128, Header = 16;

  static void Call(Client& client, const Json& call) {
    const Milliseconds now(0);
    if (call.contains("remove")) return client.Remove(TextOf(call["remove"]), now);
    if (call.contains("clear")) return client.Clear(now);
    client.Add(SpecOf(call["add"]), now);
  }
  static qm_status StatusOf(const std::function<void()>& act, std::string* text = nullptr) {
    try {
      act();
    } catch (const Error& error) {
      if (text != nullptr) *text = error.what();
      return error.Status();
    }
    return QM_OK;
  }
  static std::vector<Record> ReadAll(Client& client) {
    std::vector<Record> records;
    for (auto more = client.Read(Milliseconds(0)); !more.empty(); more = client.Read(Milliseconds(0))) {
      records.insert(records.end(), more.begin(), more.end());
    }
    return records;
  }
  std::array<std::uint8_t, CommandSlot> Command(std::uint32_t slot) const {
    std::array<std::uint8_t, CommandSlot> bytes;
    std::memcpy(bytes.data(), rings.Commands() + Header + CommandSlot * slot, CommandSlot);
    return bytes;
  }
  void SpoilCommands() { std::memset(rings.Commands() + Header, 0xAA, CommandSlot * 64); }

  const PrivateSession session;
  RawController rings;
};

TEST_F(Conformance, CommandsHaveTheExpectedBytes) {
  Client client;
  std::uint32_t index = 0;
  for (const Json& vector : Vectors()["commands"]) {
    SpoilCommands();
    EXPECT_NO_THROW(Call(client, vector)) << vector["case"];
    EXPECT_EQ(Command(index % 64), BytesOf<CommandSlot>(vector["slot"])) << vector["case"];
    EXPECT_EQ(rings.CommandWord(WriteIndex), ++index);
    rings.SetCommandWord(ReadIndex, index);
  }
}

TEST_F(Conformance, InvalidArgumentsAreRefused) {
  Client client;
  for (const Json& vector : Vectors()["refusals"]) {
    const std::string error = vector["error"];
    const qm_status expected = error == "too_long"   ? QM_TOO_LONG
                               : error == "bad_text" ? QM_BAD_TEXT
                                                     : QM_BAD_VALUE;
    std::string text;
    EXPECT_EQ(StatusOf([&] { Call(client, vector); }, &text), expected) << vector["case"] << text;
    EXPECT_NE(text.find(vector["what"]), std::string::npos) << vector["case"] << text;
    if (!vector.contains("add")) continue;
    EXPECT_EQ(StatusOf([&] { SpecOf(vector["add"]).Check(); }), expected) << vector["case"];
  }
  EXPECT_EQ(rings.CommandWord(WriteIndex), 0u);
}

TEST_F(Conformance, CommandIndicesWrapAndNeverRunAhead) {
  Client client;
  for (const Json& vector : Vectors()["command_indices"]) {
    rings.SetCommandWord(WriteIndex, vector["write"]);
    rings.SetCommandWord(ReadIndex, vector["read"]);
    SpoilCommands();
    for (const Json& slot : vector["slots"]) {
      EXPECT_NO_THROW(Call(client, {{"clear", true}})) << vector["case"];
      EXPECT_EQ(Command(slot)[0], 3) << vector["case"];
    }
    if (vector["slots"].empty()) {
      EXPECT_EQ(StatusOf([&] { Call(client, {{"clear", true}}); }), QM_NO_WORKER) << vector["case"];
    }
    EXPECT_EQ(rings.CommandWord(WriteIndex), vector["end"]) << vector["case"];
  }
}

TEST_F(Conformance, BytesBecomeTheExpectedRecords) {
  Client client;
  for (const Json& vector : Vectors()["records"]) {
    const std::uint32_t index = rings.HitWord(WriteIndex);
    const auto bytes = BytesOf<HitSlot>(vector["slot"]);
    std::memcpy(rings.Hits() + Header + HitSlot * (index % 64), bytes.data(), bytes.size());
    rings.SetHitWord(WriteIndex, index + 1);
    const std::vector<Record> records = ReadAll(client);
    ASSERT_EQ(records.size(), 1u) << vector["case"];
    const Record& record = records[0];
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

TEST_F(Conformance, HitIndicesWrap) {
  for (std::uint32_t slot = 0; slot < 64; ++slot) {
    std::byte* const bytes = rings.Hits() + Header + HitSlot * slot;
    std::memcpy(bytes, &slot, sizeof slot);  // its time is the slot's number
    bytes[16] = std::byte{1};                // a width makes it a hit
  }
  for (const Json& vector : Vectors()["hit_indices"]) {
    rings.SetHitWord(WriteIndex, vector["write"]);
    rings.SetHitWord(ReadIndex, vector["read"]);
    Client client(true);
    std::vector<std::uint32_t> slots;
    std::uint32_t dropped = 0;
    for (const Record& record : ReadAll(client)) {
      if (record.kind == QM_HIT) slots.push_back(static_cast<std::uint32_t>(record.ts_ms));
      if (record.kind == QM_DROPPED && slots.empty()) dropped += record.count;
    }
    EXPECT_EQ(slots, vector["slots"].get<std::vector<std::uint32_t>>()) << vector["case"];
    EXPECT_EQ(dropped, vector["dropped"]) << vector["case"];
    EXPECT_EQ(rings.HitWord(ReadIndex), vector["write"]) << vector["case"];
  }
}

TEST_F(Conformance, GarbageInTheHitSectionIsReadOnceAsRecords) {
  Client client;
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    std::generate_n(rings.Hits(), RawController::HitBytes, [&] { return static_cast<std::byte>(random()); });
    std::vector<Record> records = ReadAll(client);
    std::erase_if(records, [](const Record& record) { return record.kind == QM_DROPPED; });
    EXPECT_LE(records.size(), 64u) << seed;
    for (const Record& record : records) {
      EXPECT_LE(record.kind, QM_REPLY) << seed;
      EXPECT_NO_THROW((void)Json(record.name).dump()) << seed << ": not UTF-8";
    }
    EXPECT_EQ(rings.HitWord(ReadIndex), rings.HitWord(WriteIndex)) << seed;
    EXPECT_TRUE(ReadAll(client).empty()) << seed;
  }
}

TEST_F(Conformance, RecordsBecomeTheExpectedEvents) {
  for (const Json& vector : Vectors()["events"]) {
    Tracker tracker;
    tracker.Begin(WatchOf(vector["watch"]));
    for (const Json& step : vector["steps"]) {
      if (step.contains("watch")) {
        tracker.Begin(WatchOf(vector["watch"]));
        continue;
      }
      Json events = Json::array();
      for (const Event& event : Step(tracker, step)) {
        events.push_back({EventKinds.at(static_cast<std::size_t>(event.kind)),
                          Reasons.at(static_cast<std::size_t>(event.reason)),
                          Sights.at(static_cast<std::size_t>(event.was))});
        if (event.kind == QM_STABLE) events.back().push_back(event.stable_ms);
        EXPECT_EQ(event.Name(), vector["watch"]["name"].get<std::string>());
      }
      EXPECT_EQ(events, step.value("expect", Json::array())) << vector["case"] << ' ' << step;
    }
  }
}

}  // namespace
}  // namespace quillmark::test
