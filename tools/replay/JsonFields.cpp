#include "replay/JsonFields.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <system_error>
#include <utility>

#include "specs/Utf8.h"
#include "text/Printable.h"

namespace quillmark::replay {
namespace {

// Sums of coordinates and sides stay within 32 bits.
constexpr std::int32_t MaxCoordinate = 1'000'000'000;

bool IsControl(char unit) {
  return (unit >= 0 && unit < ' ') || unit == '\x7F';
}

// A name from the file, shortened.
std::string Shown(const std::string& name) {
  constexpr std::size_t maxBytes = 80;
  if (name.size() <= maxBytes) return name;
  std::size_t end = maxBytes;
  while ((name[end] & 0xC0) == 0x80) --end;
  return name.substr(0, end) + "...";
}

// The parser's message without its quotation from the file, which need not be text.
std::string WithoutQuotation(const std::string& error) {
  return error.substr(0, std::min(error.find("; last read: '"), error.find(" parsing '")));
}

// Rejects what the parser accepts: names given twice, of which it keeps the last, and deeply nested lists,
// which take many times the memory of their text.
class Guard {
 public:
  explicit Guard(const std::string& fileName) : file(fileName) {}

  // `depth` is 0 for the root, 1 for its elements and names.
  bool operator()(int depth, nlohmann::json::parse_event_t event, const nlohmann::json& parsed) {
    using Event = nlohmann::json::parse_event_t;
    if (depth == kMaxDepth) throw FormatError(file + ": nests lists and objects too deeply");
    if (event == Event::object_start) names[depth + 1].clear();
    if (event == Event::key && !names[depth].insert(parsed.get<std::string>()).second) {
      throw FormatError(
          OneLine(file + ": '" + Shown(parsed.get<std::string>()) + "' is given twice in one object"));
    }
    return true;
  }

 private:
  static constexpr int kMaxDepth = 16;

  const std::string& file;
  std::set<std::string> names[kMaxDepth + 1];  // of the open object at each depth
};

}  // namespace

JsonField::JsonField(const std::string& fileName, const std::string& text) : file(fileName) {
  try {
    Guard guard(file);
    root = std::make_shared<const Json>(Json::parse(text, std::ref(guard)));
  } catch (const Json::exception& error) {
    throw FormatError(file + ": is not JSON: " + WithoutQuotation(error.what()));
  }
  value = root.get();
}

JsonField JsonField::OfFile(const std::filesystem::path& path) {
  const std::string name = Utf8Of(path.filename());
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw FormatError(Utf8Of(path) + ": no such file");
  }
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size > MaxFileBytes) {
    throw FormatError(name + ": is larger than " + std::to_string(MaxFileBytes) + " bytes");
  }
  std::ifstream stream(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) throw FormatError(name + ": cannot be read");
  return {name, text};
}

void JsonField::Refuse(const std::string& what) const {
  throw FormatError(OneLine(file + ": " + (field.empty() ? "" : field + ": ") + what));
}

void JsonField::Only(std::initializer_list<const char*> names) const {
  if (!value->is_object()) Refuse("must be an object");
  for (const auto& [name, child] : value->items()) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      Child(Shown(name), child).Refuse("is no field of this format");
    }
  }
}

std::optional<JsonField> JsonField::Find(const char* name) const {
  if (!value->is_object()) Refuse("must be an object");
  const auto found = value->find(name);
  if (found == value->end()) return std::nullopt;
  return Child(name, *found);
}

JsonField JsonField::At(const char* name) const {
  if (auto found = Find(name)) return *found;
  Child(name, *value).Refuse("is missing");
}

std::vector<JsonField> JsonField::Elements(std::size_t max) const {
  if (!value->is_array()) Refuse("must be a list");
  if (value->size() > max) Refuse("has more than " + std::to_string(max) + " elements");
  std::vector<JsonField> elements;
  for (const Json& child : *value) {
    elements.push_back(JsonField(*this, child, field + "[" + std::to_string(elements.size()) + "]"));
  }
  return elements;
}

std::vector<std::pair<std::string, JsonField>> JsonField::Members(std::size_t max) const {
  if (!value->is_object()) Refuse("must be an object");
  if (value->size() > max) Refuse("has more than " + std::to_string(max) + " fields");
  std::vector<std::pair<std::string, JsonField>> members;
  for (const auto& [name, child] : value->items()) {
    members.emplace_back(name, Child(Shown(name), child));
  }
  return members;
}

std::int64_t JsonField::Integer(std::int64_t min, std::int64_t max) const {
  const bool huge = value->is_number_unsigned() &&
                    value->get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()};
  const std::int64_t number = value->is_number_integer() && !huge ? value->get<std::int64_t>() : min - 1;
  if (number < min || number > max) {
    Refuse("must be a whole number from " + std::to_string(min) + " to " + std::to_string(max));
  }
  return number;
}

double JsonField::Number(double min, double max) const {
  const double number = value->is_number() ? value->get<double>() : std::numeric_limits<double>::quiet_NaN();
  if (!(number >= min && number <= max)) {
    Refuse("must be a number from " + Json(min).dump() + " to " + Json(max).dump());
  }
  return number;
}

bool JsonField::Boolean() const {
  if (!value->is_boolean()) Refuse("must be true or false");
  return value->get<bool>();
}

std::string JsonField::Text(std::size_t maxBytes) const {
  if (!value->is_string()) Refuse("must be a string");
  const std::string& text = value->get_ref<const std::string&>();
  if (text.size() > maxBytes) Refuse("is longer than " + std::to_string(maxBytes) + " bytes");
  return text;
}

std::string JsonField::Name(std::size_t maxBytes) const {
  std::string text = Text(maxBytes);
  if (text.empty()) Refuse("must not be empty");
  if (std::any_of(text.begin(), text.end(), IsControl)) Refuse("contains a control character");
  return text;
}

std::wstring JsonField::Name16(std::size_t maxUnits) const {
  (void)Name(4 * maxUnits);
  return Text16(maxUnits);
}

std::wstring JsonField::Text16(std::size_t maxUnits) const {
  std::wstring text = FromUtf8(Text(4 * maxUnits));
  if (text.size() > maxUnits) {
    Refuse("has " + std::to_string(text.size()) + " UTF-16 units, of at most " + std::to_string(maxUnits));
  }
  return text;
}

Rect JsonField::Rectangle(std::int32_t minSide) const {
  if (!value->is_array() || value->size() != 4) Refuse("must be [x, y, width, height]");
  const std::vector<JsonField> parts = Elements(4);
  const auto x = static_cast<std::int32_t>(parts[0].Integer(-MaxCoordinate, MaxCoordinate));
  const auto y = static_cast<std::int32_t>(parts[1].Integer(-MaxCoordinate, MaxCoordinate));
  const auto width = static_cast<std::int32_t>(parts[2].Integer(minSide, MaxCoordinate));
  const auto height = static_cast<std::int32_t>(parts[3].Integer(minSide, MaxCoordinate));
  return {x, y, x + width, y + height};
}

std::string OneLine(std::string text) {
  std::replace_if(text.begin(), text.end(), IsControl, '?');
  return text;
}

double Shortest(float value) {
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, value);
  double shortest = 0.0;
  std::from_chars(text, written.ptr, shortest);
  return shortest;
}

}  // namespace quillmark::replay
