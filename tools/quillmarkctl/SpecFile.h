// A file that declares specs, in TOML: one [[spec]] table each, [defaults] for what several share.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "client/Command.h"

namespace quillmark::control {

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
