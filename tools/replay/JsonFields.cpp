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

namespace quillmark::replay {
namespace {

// Sums of such coordinates and sides stay within 32 bits.
constexpr std::int32_t MostCoordinate = 1'000'000'000;

bool IsControl(char unit) {
  return (unit >= 0 && unit < ' ') || unit == '\x7F';
}

std::string Display(const std::filesystem::path& path) {
  const std::u8string name = path.u8string();
  return {name.begin(), name.end()};
}

// A name out of the file, which may have any length there.
std::string Shown(const std::string& name) {
  constexpr std::size_t most = 80;
  if (name.size() <= most) return name;
  std::size_t end = most;
  while ((name[end] & 0xC0) == 0x80) --end;
  return name.substr(0, end) + "...";
}

// What the parser says without what it quotes of the file, which need not be text.
std::string WithoutQuotation(const std::string& error) {
  return error.substr(0, std::min(error.find("; last read: '"), error.find(" parsing '")));
}

// Sees to what the parser would let pass: of a name twice in one object it keeps the last, and lists within
// lists become many times as large as their text.
class Watchful {
 public:
  explicit Watchful(const std::string& fileName) : file(fileName) {}

  // `depth` is 0 for the whole, 1 for its elements and names.
  bool operator()(int depth, nlohmann::json::parse_event_t event, const nlohmann::json& parsed) {
    using Event = nlohmann::json::parse_event_t;
    if (depth == MostDepth) throw FormatError(file + ": has too many lists and objects within each other");
    if (event == Event::object_start) names[depth + 1].clear();
    if (event == Event::key && !names[depth].insert(parsed.get<std::string>()).second) {
      throw FormatError(
          OneLine(file + ": '" + Shown(parsed.get<std::string>()) + "' is there twice in one object"));
    }
    return true;
  }

 private:
  static constexpr int MostDepth = 16;

  const std::string& file;
  std::set<std::string> names[MostDepth + 1];  // of the open object at each depth
};

}  // namespace

JsonField::JsonField(const std::string& fileName, const std::string& text) : file(fileName) {
  try {
    Watchful watchful(file);
    root = std::make_shared<const Json>(Json::parse(text, std::ref(watchful)));
  } catch (const Json::exception& error) {
    throw FormatError(file + ": is no JSON: " + WithoutQuotation(error.what()));
  }
  value = root.get();
}

JsonField JsonField::OfFile(const std::filesystem::path& path) {
  const std::string name = Display(path.filename());
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw FormatError(Display(path) + ": there is no such file");
  }
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size > MostFileBytes) {
    throw FormatError(name + ": is larger than " + std::to_string(MostFileBytes) + " bytes");
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
      JsonField(*this, child, field.empty() ? Shown(name) : field + "." + Shown(name))
          .Refuse("is no field of this format");
    }
  }
}

std::optional<JsonField> JsonField::Find(const char* name) const {
  if (!value->is_object()) Refuse("must be an object");
  const auto found = value->find(name);
  if (found == value->end()) return std::nullopt;
  return JsonField(*this, *found, field.empty() ? name : field + "." + name);
}

JsonField JsonField::At(const char* name) const {
  if (auto found = Find(name)) return *found;
  JsonField(*this, *value, field.empty() ? name : field + "." + name).Refuse("is missing");
}

std::vector<JsonField> JsonField::Elements(std::size_t most) const {
  if (!value->is_array()) Refuse("must be a list");
  if (value->size() > most) Refuse("has more than " + std::to_string(most) + " elements");
  std::vector<JsonField> elements;
  for (const Json& child : *value) {
    elements.push_back(JsonField(*this, child, field + "[" + std::to_string(elements.size()) + "]"));
  }
  return elements;
}

std::vector<std::pair<std::string, JsonField>> JsonField::Members(std::size_t most) const {
  if (!value->is_object()) Refuse("must be an object");
  if (value->size() > most) Refuse("has more than " + std::to_string(most) + " fields");
  std::vector<std::pair<std::string, JsonField>> members;
  for (const auto& [name, child] : value->items()) {
    members.emplace_back(name, JsonField(*this, child, field + "." + Shown(name)));
  }
  return members;
}

std::int64_t JsonField::Integer(std::int64_t least, std::int64_t most) const {
  // A number above the signed range is held as an unsigned one.
  const bool fits =
      value->is_number_unsigned()
          ? value->get<std::uint64_t>() <= static_cast<std::uint64_t>(std::max<std::int64_t>(most, 0))
          : value->is_number_integer();
  if (!fits || value->get<std::int64_t>() < least || value->get<std::int64_t>() > most) {
    Refuse("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return value->get<std::int64_t>();
}

double JsonField::Number(double least, double most) const {
  const double number = value->is_number() ? value->get<double>() : std::numeric_limits<double>::quiet_NaN();
  if (!(number >= least && number <= most)) {
    Refuse("must be a number from " + Json(least).dump() + " to " + Json(most).dump());
  }
  return number;
}

bool JsonField::Boolean() const {
  if (!value->is_boolean()) Refuse("must be true or false");
  return value->get<bool>();
}

std::string JsonField::Text(std::size_t mostBytes) const {
  if (!value->is_string()) Refuse("must be a text");
  const std::string& text = value->get_ref<const std::string&>();
  if (text.size() > mostBytes) Refuse("is longer than " + std::to_string(mostBytes) + " bytes");
  return text;
}

std::string JsonField::Name(std::size_t mostBytes) const {
  std::string text = Text(mostBytes);
  if (text.empty()) Refuse("must not be empty");
  if (std::any_of(text.begin(), text.end(), IsControl)) Refuse("holds a control character");
  return text;
}

std::wstring JsonField::Name16(std::size_t mostUnits) const {
  (void)Name(4 * mostUnits);
  return Text16(mostUnits);
}

std::wstring JsonField::Text16(std::size_t mostUnits) const {
  std::wstring text = FromUtf8(Text(4 * mostUnits));
  if (text.size() > mostUnits) {
    Refuse("is " + std::to_string(text.size()) + " UTF-16 units long; at most " + std::to_string(mostUnits) +
           " are possible");
  }
  return text;
}

Rect JsonField::Rectangle(std::int32_t leastSide) const {
  if (!value->is_array() || value->size() != 4) Refuse("must be [x, y, width, height]");
  const std::vector<JsonField> parts = Elements(4);
  const auto x = static_cast<std::int32_t>(parts[0].Integer(-MostCoordinate, MostCoordinate));
  const auto y = static_cast<std::int32_t>(parts[1].Integer(-MostCoordinate, MostCoordinate));
  const auto width = static_cast<std::int32_t>(parts[2].Integer(leastSide, MostCoordinate));
  const auto height = static_cast<std::int32_t>(parts[3].Integer(leastSide, MostCoordinate));
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
