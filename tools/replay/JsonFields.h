// A JSON value together with its place in its file, so that whatever is wrong with it is said with the file
// and the field: "recording.json: windows[3].client: must be [x, y, width, height]".
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
  // Of a whole file's text. Raises FormatError when it is no JSON or gives a name twice; so does everything
  // below for a value that is not what is asked for.
  JsonField(const std::string& file, const std::string& text);
  // Of the file at that path, which holds at most MostFileBytes.
  [[nodiscard]] static JsonField OfFile(const std::filesystem::path& path);

  // This is an object with no other fields than these.
  void Only(std::initializer_list<const char*> names) const;
  [[nodiscard]] JsonField At(const char* name) const;
  [[nodiscard]] std::optional<JsonField> Find(const char* name) const;
  // The elements of a list.
  [[nodiscard]] std::vector<JsonField> Elements(std::size_t most) const;
  // The names and values of an object.
  [[nodiscard]] std::vector<std::pair<std::string, JsonField>> Members(std::size_t most) const;

  [[nodiscard]] std::int64_t Integer(std::int64_t least, std::int64_t most) const;
  [[nodiscard]] double Number(double least, double most) const;
  [[nodiscard]] bool Boolean() const;
  [[nodiscard]] std::string Text(std::size_t mostBytes) const;
  [[nodiscard]] std::wstring Text16(std::size_t mostUnits) const;
  // A text of at least one character and without control characters.
  [[nodiscard]] std::string Name(std::size_t mostBytes) const;
  [[nodiscard]] std::wstring Name16(std::size_t mostUnits) const;
  // [x, y, width, height]; sides from `leastSide` on.
  [[nodiscard]] Rect Rectangle(std::int32_t leastSide) const;

  // Raises FormatError: file, field and what is wrong.
  [[noreturn]] void Refuse(const std::string& what) const;

 private:
  using Json = nlohmann::json;

  JsonField(const JsonField& parent, const Json& child, std::string childField)
      : file(parent.file), root(parent.root), value(&child), field(std::move(childField)) {}

  std::string file;
  std::shared_ptr<const Json> root;
  const Json* value;  // in the root
  std::string field;
};

// Text, part of which comes out of a file, with its control characters as '?'.
[[nodiscard]] std::string OneLine(std::string text);

// A float's shortest decimals, from which the same float is read back, as a double that prints so.
[[nodiscard]] double Shortest(float value);

}  // namespace quillmark::replay
