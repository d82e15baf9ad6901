#include "specfile/SpecFile.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "client/Spec.h"
#include "client/Text.h"
#include "text/Printable.h"

namespace quillmark::control {
namespace {

constexpr SpecFileKey Keys[] = {
    {"name", "TEXT", "The name in hits: at most 31 characters, no ':', unique in the file."},
    {"target", "TEXT",
     "The window to search: part of its title, or its program's file name ending in .exe, also on Linux; at "
     "most 16 characters."},
    {"path", "TEXT",
     "The template's image. A relative path starts at this file's folder. The absolute path has at most 64 "
     "characters."},
    {"region", "[X, Y, WIDTH, HEIGHT]",
     "The region to search, in pixels of the window's client area; at least as large as the template."},
    {"max_difference", "NUMBER", "The maximum difference, from 0 to below 1. Default: 0.1."},
    {"min_score", "NUMBER", "The minimum score, above 0.5 and at most 1. Default: none."},
    {"edge_min", "NUMBER",
     "The minimum edge correlation, -1 to 1. Default: 0.75. Values below the worker's floor act as the "
     "floor."},
    {"mode", "TEXT",
     "What is compared: gray, bgr, s (saturation), h (hue) or hs. Default: gray, or the preset's."},
    {"preset", "TEXT", "fast or strict; other keys override it."},
    {"red", "BOOLEAN",
     "Whether the template is a red object; then its colour counts. Must be true if the name contains "
     "\"red\"."},
    {"interval_ms", "NUMBER",
     "The minimum time between searches, in milliseconds. Default: every frame is searched."},
    {"every_nth_frame", "NUMBER",
     "Search only every 2nd, 3rd, 4th, 5th, 6th, 8th, 10th, 15th or 30th frame; excludes all other options."},
    {"monitor", "NUMBER or \"primary\"", "Search only this monitor, counted from 1. Default: all."}};

std::string SourceLine(const toml::node& node) {
  return "line " + std::to_string(node.source().begin.line);
}

[[noreturn]] void Reject(std::string_view key, const std::string& problem) {
  throw std::invalid_argument(std::string(key) + ' ' + problem);
}

// Reads an entry's keys, with the defaults as fallback.
class Entry {
 public:
  Entry(const toml::table& own, const toml::table* shared) : own_(own), shared_(shared) {}

  template <typename Value>
  std::optional<Value> Get(std::string_view key, const char* kind) const {
    const toml::node* const node = Find(key);
    if (node == nullptr) return std::nullopt;
    const std::optional<Value> value = node->value_exact<Value>();
    if (!value) Reject(key, std::string("must be ") + kind);
    return value;
  }
  std::optional<std::string> Text(std::string_view key) const { return Get<std::string>(key, "text"); }
  std::optional<double> Number(std::string_view key) const {
    const toml::node* const node = Find(key);
    if (node != nullptr && node->is_integer()) return static_cast<double>(*node->value<std::int64_t>());
    return Get<double>(key, "a number");
  }
  std::optional<std::int32_t> Integer(std::string_view key) const {
    const auto value = Get<std::int64_t>(key, "a whole number");
    if (!value) return std::nullopt;
    return Narrow(key, *value);
  }
  const toml::node* Find(std::string_view key) const {
    if (const toml::node* const node = own_.get(key)) return node;
    return shared_ == nullptr ? nullptr : shared_->get(key);
  }
  static std::int32_t Narrow(std::string_view key, std::int64_t value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (value < Limits::min() || value > Limits::max()) Reject(key, "is out of range");
    return static_cast<std::int32_t>(value);
  }

 private:
  const toml::table& own_;
  const toml::table* const shared_;
};

void ReadRegion(const Entry& entry, client::Spec& spec) {
  const toml::node* const node = entry.Find("region");
  const toml::array* const parts = node == nullptr ? nullptr : node->as_array();
  if (parts == nullptr || parts->size() != 4) Reject("region", "must be [x, y, width, height]");
  std::int32_t* const targets[] = {&spec.x, &spec.y, &spec.width, &spec.height};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto value = (*parts)[i].value_exact<std::int64_t>();
    if (!value) Reject("region", "must be four whole numbers");
    *targets[i] = Entry::Narrow("region", *value);
  }
}

// The index of the key's word; the first one stands for a missing key.
int OneOf(const Entry& entry, std::string_view key, std::span<const std::string_view> words) {
  const std::optional<std::string> word = entry.Text(key);
  if (!word) return 0;
  const auto found = std::find(words.begin() + 1, words.end(), *word);
  if (found != words.end()) return static_cast<int>(found - words.begin());
  std::string list;
  for (const std::string_view each : words.subspan(1)) list.append(list.empty() ? "" : ", ").append(each);
  Reject(key, "must be one of " + list);
}

std::int32_t MonitorOf(const Entry& entry) {
  const toml::node* const node = entry.Find("monitor");
  if (node == nullptr) return 0;
  if (node->value_exact<std::string>() == "primary") return -1;
  const auto number = node->value_exact<std::int64_t>();
  if (!number || *number < 1) Reject("monitor", "must be \"primary\" or a number from 1");
  return Entry::Narrow("monitor", *number);
}

client::Spec SpecOf(const Entry& entry, const std::filesystem::path& folder, std::filesystem::path& image) {
  client::Spec spec;
  spec.name = entry.Text("name").value_or("");
  spec.target = entry.Text("target").value_or("");
  const std::string path = entry.Text("path").value_or("");
  if (path.empty()) Reject("path", "is missing");
  // Absolute, as the worker's folder is unknown here.
  image = (folder / PathOf(path)).lexically_normal();
  spec.path = Utf8Of(image);
  ReadRegion(entry, spec);
  spec.maxDifference = entry.Number("max_difference");
  spec.minScore = entry.Number("min_score");
  spec.edgeMin = entry.Number("edge_min").value_or(spec.edgeMin);
  spec.mode = static_cast<client::Mode>(OneOf(entry, "mode", client::ModeWords));
  spec.preset = static_cast<client::Preset>(OneOf(entry, "preset", client::PresetWords));
  spec.red = entry.Get<bool>("red", "true or false").value_or(false);
  spec.intervalMs = entry.Integer("interval_ms").value_or(0);
  spec.everyNthFrame = entry.Integer("every_nth_frame").value_or(1);
  spec.monitor = MonitorOf(entry);
  return spec;
}

void CheckKeys(const toml::table& table) {
  for (const auto& [key, node] : table) {
    if (std::ranges::find(Keys, key.str(), &SpecFileKey::name) == std::end(Keys)) {
      throw std::invalid_argument("unknown key '" + std::string(key.str()) + "' (" + SourceLine(node) + ")");
    }
  }
}

DeclaredSpec Read(const toml::table& table, const toml::table* defaults, const std::filesystem::path& folder,
                  std::size_t number) {
  DeclaredSpec declared;
  declared.line = static_cast<int>(table.source().begin.line);
  declared.name = table["name"].value<std::string>().value_or("spec " + std::to_string(number));
  try {
    CheckKeys(table);
    declared.command = client::CommandFor(SpecOf(Entry(table, defaults), folder, declared.image));
  } catch (const std::invalid_argument& error) {
    declared.fault = error.what();
  }
  return declared;
}

}  // namespace

std::span<const SpecFileKey> SpecFileKeys() {
  return Keys;
}

std::vector<DeclaredSpec> ReadSpecFile(const std::filesystem::path& file) {
  const std::filesystem::path folder = std::filesystem::absolute(file).parent_path();
  toml::table document;
  std::error_code unknown;
  // A folder reads as an empty file; reading a pipe may block for ever.
  const std::filesystem::file_status kind = std::filesystem::status(file, unknown);
  if (std::filesystem::exists(kind) && !std::filesystem::is_regular_file(kind)) {
    throw std::runtime_error(Utf8Of(file) + " is not a regular file");
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error(Utf8Of(file) + " cannot be read");
  try {
    document = toml::parse(stream);
  } catch (const toml::parse_error& error) {
    throw std::runtime_error(Utf8Of(file) + ", line " + std::to_string(error.source().begin.line) + ": " +
                             std::string(error.description()));
  }
  for (const auto& [key, node] : document) {
    const bool known =
        (key.str() == "spec" && node.is_array_of_tables()) || (key.str() == "defaults" && node.is_table());
    if (known) continue;
    throw std::runtime_error(Utf8Of(file) + ", " + SourceLine(node) + ": '" + std::string(key.str()) +
                             "' is neither [[spec]] nor [defaults]");
  }
  const toml::table* const defaults = document["defaults"].as_table();
  if (defaults != nullptr) {
    try {
      CheckKeys(*defaults);
    } catch (const std::invalid_argument& error) {
      throw std::runtime_error(Utf8Of(file) + ", [defaults]: " + error.what());
    }
  }
  std::vector<DeclaredSpec> specs;
  std::map<std::string, int> lines;
  if (const toml::array* const tables = document["spec"].as_array()) {
    for (const toml::node& node : *tables) {
      DeclaredSpec declared = Read(*node.as_table(), defaults, folder, specs.size() + 1);
      const auto [first, isNew] = lines.emplace(declared.name, declared.line);
      if (!isNew) declared.fault = "the name is already used in line " + std::to_string(first->second);
      specs.push_back(std::move(declared));
    }
  }
  return specs;
}

}  // namespace quillmark::control
