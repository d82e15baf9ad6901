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

#include "Files.h"
#include "client/Spec.h"
#include "client/Text.h"

namespace quillmark::control {
namespace {

constexpr SpecFileKey Keys[] = {
    {"name", "TEXT", "What hits are called: 31 UTF-16 units at most, no ':'; each name once in a file."},
    {"target", "TEXT",
     "The window to look in: a part of its title, or its program's file name that ends in .exe, on Linux "
     "too; "
     "16 units at most."},
    {"path", "TEXT",
     "The template's image. A relative path starts at the folder of this file. The whole path, from the "
     "root, "
     "has 64 units at most."},
    {"region", "[X, Y, WIDTH, HEIGHT]",
     "Where to look, in pixels of the window's client area; at least as large as the template."},
    {"max_difference", "NUMBER", "The largest difference, from 0 to below 1. Without it the worker's 0.1."},
    {"min_score", "NUMBER", "The least score, above 0.5 and up to 1. Without it there is none."},
    {"edge_min", "NUMBER",
     "The minimum edge correlation, -1 to 1. Without it 0.75. The limit has a floor, below which it changes "
     "nothing."},
    {"mode", "TEXT",
     "What is compared: gray, bgr, s (saturation), h (hue) or hs. Without it gray, or what the preset "
     "takes."},
    {"preset", "TEXT", "fast or strict; where another key speaks of the same, that key wins."},
    {"red", "BOOLEAN",
     "Whether the template is a red object, whose colour takes part in the decision. A name with \"red\" in "
     "it "
     "must say true."},
    {"interval_ms", "NUMBER",
     "Look at most once in so many milliseconds. Without it, whenever there is a frame."},
    {"every_nth_frame", "NUMBER",
     "Look in every 2nd, 3rd, 4th, 5th, 6th, 8th, 10th, 15th or 30th frame; goes with no other option."},
    {"monitor", "NUMBER or \"primary\"", "Look on this monitor alone, counted from 1. Without it on all."}};

std::string LineOf(const toml::node& node) {
  return "line " + std::to_string(node.source().begin.line);
}

[[noreturn]] void Refuse(std::string_view key, const std::string& problem) {
  throw std::invalid_argument(std::string(key) + ' ' + problem);
}

// The value of one key: the entry's own, else that of the defaults.
class Entry {
 public:
  Entry(const toml::table& own, const toml::table* shared) : own_(own), shared_(shared) {}

  template <typename Value>
  std::optional<Value> Get(std::string_view key, const char* kind) const {
    const toml::node* const node = Find(key);
    if (node == nullptr) return std::nullopt;
    const std::optional<Value> value = node->value_exact<Value>();
    if (!value) Refuse(key, std::string("must be ") + kind);
    return value;
  }
  std::optional<std::string> Text(std::string_view key) const { return Get<std::string>(key, "a text"); }
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
    if (value < Limits::min() || value > Limits::max()) Refuse(key, "is too large a number");
    return static_cast<std::int32_t>(value);
  }

 private:
  const toml::table& own_;
  const toml::table* const shared_;
};

void ReadRegion(const Entry& entry, client::Spec& spec) {
  const toml::node* const node = entry.Find("region");
  const toml::array* const parts = node == nullptr ? nullptr : node->as_array();
  if (parts == nullptr || parts->size() != 4) Refuse("region", "must be [x, y, width, height]");
  std::int32_t* const targets[] = {&spec.x, &spec.y, &spec.width, &spec.height};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto value = (*parts)[i].value_exact<std::int64_t>();
    if (!value) Refuse("region", "must be four whole numbers");
    *targets[i] = Entry::Narrow("region", *value);
  }
}

template <typename Value>
Value OneOf(const Entry& entry, std::string_view key, Value otherwise,
            const std::map<std::string, Value>& choices) {
  const std::optional<std::string> word = entry.Text(key);
  if (!word) return otherwise;
  const auto choice = choices.find(*word);
  if (choice != choices.end()) return choice->second;
  std::string list;
  for (const auto& [name, value] : choices) list += (list.empty() ? "" : ", ") + name;
  Refuse(key, "must be one of " + list);
}

std::int32_t MonitorOf(const Entry& entry) {
  const toml::node* const node = entry.Find("monitor");
  if (node == nullptr) return 0;
  if (node->value_exact<std::string>() == "primary") return -1;
  const auto number = node->value_exact<std::int64_t>();
  if (!number || *number < 1) Refuse("monitor", "must be \"primary\" or a number from 1");
  return Entry::Narrow("monitor", *number);
}

client::Spec SpecOf(const Entry& entry, const std::filesystem::path& folder, std::filesystem::path& image) {
  using client::Mode, client::Preset;
  client::Spec spec;
  spec.name = entry.Text("name").value_or("");
  spec.target = entry.Text("target").value_or("");
  const std::string path = entry.Text("path").value_or("");
  if (path.empty()) Refuse("path", "is missing");
  // The worker's own folder is unknown here.
  image = (folder / PathOf(path)).lexically_normal();
  spec.path = Utf8Of(image);
  ReadRegion(entry, spec);
  spec.maxDifference = entry.Number("max_difference");
  spec.minScore = entry.Number("min_score");
  spec.edgeMin = entry.Number("edge_min").value_or(spec.edgeMin);
  spec.mode = OneOf<Mode>(
      entry, "mode", Mode::Unset,
      {{"gray", Mode::Gray}, {"bgr", Mode::Bgr}, {"s", Mode::S}, {"h", Mode::H}, {"hs", Mode::HS}});
  spec.preset =
      OneOf<Preset>(entry, "preset", Preset::None, {{"fast", Preset::Fast}, {"strict", Preset::Strict}});
  spec.red = entry.Get<bool>("red", "true or false").value_or(false);
  spec.intervalMs = entry.Integer("interval_ms").value_or(0);
  spec.everyNthFrame = entry.Integer("every_nth_frame").value_or(1);
  spec.monitor = MonitorOf(entry);
  return spec;
}

void CheckKeys(const toml::table& table) {
  for (const auto& [key, node] : table) {
    if (std::ranges::find(Keys, key.str(), &SpecFileKey::name) == std::end(Keys)) {
      throw std::invalid_argument("there is no key '" + std::string(key.str()) + "' (" + LineOf(node) + ")");
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
  // A folder reads as an empty file, and to read a pipe may take for ever.
  const std::filesystem::file_status kind = std::filesystem::status(file, unknown);
  if (std::filesystem::exists(kind) && !std::filesystem::is_regular_file(kind)) {
    throw std::runtime_error(Utf8Of(file) + " is no regular file");
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
    throw std::runtime_error(Utf8Of(file) + ", " + LineOf(node) + ": '" + std::string(key.str()) +
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
      if (!isNew) declared.fault = "the name was given already in line " + std::to_string(first->second);
      specs.push_back(std::move(declared));
    }
  }
  return specs;
}

}  // namespace quillmark::control
