// A spec file, in TOML: a [[spec]] table per spec, and [defaults] for shared values.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "client/Command.h"

namespace quillmark::control {

// The keys of [[spec]] and [defaults]; there are no others.
struct SpecFileKey {
  std::string_view name;
  std::string_view value;  // its kind, such as NUMBER
  std::string_view meaning;
};
[[nodiscard]] std::span<const SpecFileKey> SpecFileKeys();

inline constexpr char SpecFileExample[] =
    "  [defaults]                     # optional, shared by all specs\n"
    "  target = \"xcalc.exe\"\n"
    "  [[spec]]\n"
    "  name = \"sine\"                  # without options, which have separate keys\n"
    "  path = \"sine.png\"              # relative to this file\n"
    "  region = [32, 92, 74, 60]      # x, y, width, height\n"
    "  max_difference = 0.1           # or min_score = 0.95\n";

// One [[spec]].
struct DeclaredSpec {
  std::string name;  // without options; "spec 3" when it is missing or invalid
  int line = 0;
  std::string fault;            // why it is invalid; empty when it is valid
  client::Command command;      // if valid
  std::filesystem::path image;  // if valid; absolute
};

// All entries in order. Relative image paths start at the file's folder. A repeated name makes an entry
// invalid. Raises std::runtime_error, with the line, when the file is not TOML or has unknown tables or
// defaults.
[[nodiscard]] std::vector<DeclaredSpec> ReadSpecFile(const std::filesystem::path& file);

}  // namespace quillmark::control
