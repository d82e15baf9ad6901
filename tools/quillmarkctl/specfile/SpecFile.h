// A file that declares specs, in TOML: one [[spec]] table each, [defaults] for what several share.
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
    "  [defaults]                     # shared by all specs; may be missing\n"
    "  target = \"xcalc.exe\"\n"
    "  [[spec]]\n"
    "  name = \"sine\"                  # its options have keys of their own\n"
    "  path = \"sine.png\"              # from the folder of this file\n"
    "  region = [32, 92, 74, 60]      # x, y, width, height\n"
    "  max_difference = 0.1           # or min_score = 0.95\n";

// One [[spec]].
struct DeclaredSpec {
  std::string name;  // without options; "spec 3" when it has none that can be read
  int line = 0;
  std::string fault;            // why it cannot be sent; empty when it can
  client::Command command;      // without a fault
  std::filesystem::path image;  // likewise, absolute
};

// All entries in order. Relative image paths start at the file's folder. Of entries with one name all but the
// first are at fault. Raises std::runtime_error, with the line, for what is no TOML or has a part that no
// spec file has: then nothing of it should be used.
[[nodiscard]] std::vector<DeclaredSpec> ReadSpecFile(const std::filesystem::path& file);

}  // namespace quillmark::control
