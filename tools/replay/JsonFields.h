// A JSON value that knows its file and field, so that errors name them:
// "recording.json: windows[3].client: must be [x, y, width, height]".
//
// Threading: one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "replay/Recording.h"

namespace quillmark::replay {

class JsonField {
 public:
  // The root of a file with this text. Raises FormatError when it is not JSON or gives a name twice; so do
  // the operations below when the value is not what they return.
  JsonField(const std::string& file, const std::string& text);
  // Reads the file at this path, of at most MaxFileBytes.
  [[nodiscard]] static JsonField OfFile(const std::filesystem::path& path);

  // Checks that this is an object with no other fields than these.
  void Only(std::initializer_list<const char*> names) const;
  [[nodiscard]] JsonField At(const char* name) const;
  [[nodiscard]] std::optional<JsonField> Find(const char* name) const;
  [[nodiscard]] std::vector<JsonField> Elements(std::size_t max) const;
  [[nodiscard]] std::vector<std::pair<std::string, JsonField>> Members(std::size_t max) const;

  [[nodiscard]] std::int64_t Integer(std::int64_t min, std::int64_t max) const;
  [[nodiscard]] double Number(double min, double max) const;
  [[nodiscard]] bool Boolean() const;
  [[nodiscard]] std::string Text(std::size_t maxBytes) const;
  [[nodiscard]] std::wstring Text16(std::size_t maxUnits) const;
  // Text that is not empty and has no control characters.
  [[nodiscard]] std::string Name(std::size_t maxBytes) const;
  [[nodiscard]] std::wstring Name16(std::size_t maxUnits) const;
  // [x, y, width, height]; sides of at least `minSide`.
  [[nodiscard]] Rect Rectangle(std::int32_t minSide) const;

  // Raises FormatError for this field.
  [[noreturn]] void Refuse(const std::string& what) const;

 private:
  using Json = nlohmann::json;

  JsonField(const JsonField& parent, const Json& child, std::string childField)
      : file(parent.file), root(parent.root), value(&child), field(std::move(childField)) {}
  [[nodiscard]] JsonField Child(const std::string& name, const Json& child) const {
    return {*this, child, field.empty() ? name : field + "." + name};
  }

  std::string file;
  std::shared_ptr<const Json> root;
  const Json* value;  // in the root
  std::string field;
};

// The text with control characters as '?'.
[[nodiscard]] std::string OneLine(std::string text);

// The double with the fewest decimals that converts back to the same float.
[[nodiscard]] double Shortest(float value);

}  // namespace quillmark::replay
