#include "replay/Expectations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "replay/JsonFields.h"

namespace quillmark::replay {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t MaxHits = 1'000'000;
constexpr std::size_t NameBytes = 256;

std::optional<std::int64_t> Whole(const JsonField& field, const char* name, std::int64_t min) {
  const auto found = field.Find(name);
  if (!found) return std::nullopt;
  return found->Integer(min, std::numeric_limits<std::int32_t>::max());
}

std::optional<double> Real(const JsonField& field, const char* name) {
  const auto found = field.Find(name);
  if (!found) return std::nullopt;
  return found->Number(-1e6, 1e6);
}

ExpectedHit ReadHit(const JsonField& field) {
  field.Only({"name", "t", "cx", "cy", "w", "h", "score", "edge"});
  constexpr std::int64_t any = std::numeric_limits<std::int32_t>::min();
  ExpectedHit hit;
  hit.name = field.At("name").Text(NameBytes);
  hit.tMs = Whole(field, "t", 0);
  hit.cx = Whole(field, "cx", any);
  hit.cy = Whole(field, "cy", any);
  hit.w = Whole(field, "w", 1);
  hit.h = Whole(field, "h", 1);
  hit.score = Real(field, "score");
  hit.edge = Real(field, "edge");
  return hit;
}

Json ToJson(const ReplayedHit& replayed) {
  const HitRecord& hit = replayed.hit;
  return {{"name", client::ToUtf8(hit.name)},
          {"t", replayed.tMs},
          {"cx", hit.cx},
          {"cy", hit.cy},
          {"w", hit.w},
          {"h", hit.h},
          {"score", Shortest(hit.sq)},
          {"edge", Shortest(hit.edge)}};
}

Json ToJson(const ExpectedHit& hit) {
  Json json{{"name", hit.name}};
  const auto add = [&](const char* name, const auto& value) {
    if (value) json[name] = *value;
  };
  add("t", hit.tMs);
  add("cx", hit.cx);
  add("cy", hit.cy);
  add("w", hit.w);
  add("h", hit.h);
  add("score", hit.score);
  add("edge", hit.edge);
  return json;
}

std::string TextOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool Meets(const ReplayedHit& replayed, const ExpectedHit& expected) {
  const HitRecord& hit = replayed.hit;
  const auto same = [](const std::optional<std::int64_t>& wanted, std::int64_t got) {
    return !wanted || *wanted == got;
  };
  const auto closeTo = [](const std::optional<double>& wanted, float got) {
    return !wanted || std::abs(*wanted - static_cast<double>(got)) <= ScoreTolerance;
  };
  return client::ToUtf8(hit.name) == expected.name && same(expected.tMs, replayed.tMs) &&
         same(expected.cx, hit.cx) && same(expected.cy, hit.cy) && same(expected.w, hit.w) &&
         same(expected.h, hit.h) && closeTo(expected.score, hit.sq) && closeTo(expected.edge, hit.edge);
}

// Walks both lists in step; hits before the next expected one are unexpected.
void CompareHits(const Expectations& expected, const ReplayResult& result, std::vector<std::string>& lines) {
  auto hit = result.hits.begin();
  for (const ExpectedHit& wanted : expected.hits) {
    const auto met = std::find_if(hit, result.hits.end(),
                                  [&](const ReplayedHit& replayed) { return Meets(replayed, wanted); });
    if (met == result.hits.end()) {
      lines.push_back("missing: " + TextOf(ToJson(wanted)));
      continue;
    }
    for (; hit != met; ++hit) lines.push_back("unexpected: " + TextOf(ToJson(*hit)));
    ++hit;
  }
  for (; hit != result.hits.end(); ++hit) lines.push_back("unexpected: " + TextOf(ToJson(*hit)));
}

void CompareSilences(const Expectations& expected, const ReplayResult& result,
                     std::vector<std::string>& lines) {
  for (const auto& [name, reason] : expected.silent) {
    const std::string head =
        "spec '" + name + "': expected no hits (" + std::string(reasons::CodeOf(reason)) + "), but ";
    const auto nameOf = [](const SpecResult& other) { return client::ToUtf8(other.name); };
    const auto spec = std::ranges::find(result.specs, name, nameOf);
    if (spec == result.specs.end()) {
      lines.push_back(head + "there is no such spec");
    } else if (spec->hits != 0) {
      lines.push_back(head + "it has hits");
    } else if (const auto silence = spec->Silence(); silence != reason) {
      lines.push_back(head + (silence ? "the reason is " + std::string(reasons::CodeOf(*silence))
                                      : "it was never searched for"));
    }
  }
}

}  // namespace

Expectations ReadExpectations(const std::filesystem::path& folder) {
  const JsonField file = JsonField::OfFile(folder / ExpectationsFile);
  file.Only({"hits", "silent"});
  Expectations expected;
  for (const JsonField& hit : file.At("hits").Elements(MaxHits)) expected.hits.push_back(ReadHit(hit));
  if (const auto silent = file.Find("silent")) {
    for (const auto& [name, field] : silent->Members(MaxSpecs)) {
      if (name.size() > NameBytes)
        field.Refuse("has a name of more than " + std::to_string(NameBytes) + " bytes");
      const std::string code = field.Text(NameBytes);
      const auto reason = reasons::ReasonOfCode(code);
      if (!reason) field.Refuse("'" + code + "' is not a reason code");
      expected.silent.emplace_back(name, *reason);
    }
  }
  return expected;
}

std::string ExpectationsText(const ReplayResult& result) {
  std::string text = "{\n  \"hits\": [";
  const char* separator = "\n    ";
  for (const ReplayedHit& hit : result.hits) {
    text += separator + TextOf(ToJson(hit));
    separator = ",\n    ";
  }
  text += result.hits.empty() ? "],\n" : "\n  ],\n";
  Json silent = Json::object();
  for (const SpecResult& spec : result.specs) {
    if (const auto reason = spec.Silence()) silent[client::ToUtf8(spec.name)] = reasons::CodeOf(*reason);
  }
  return text + "  \"silent\": " + TextOf(silent) + "\n}\n";
}

std::vector<std::string> Differences(const Expectations& expected, const ReplayResult& result) {
  std::vector<std::string> lines;
  CompareHits(expected, result, lines);
  CompareSilences(expected, result, lines);
  std::ranges::transform(lines, lines.begin(), OneLine);
  return lines;
}

}  // namespace quillmark::replay
