// The specs of a recording as the worker would have them: prepared, or rejected with a reason.
//
// Threading: constant once made.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "reasons/Reasons.h"
#include "replay/Recording.h"

namespace quillmark::replay {

struct SpecTable {
  // Image paths are relative to the folder. Raises FormatError for two specs of one name.
  SpecTable(const std::vector<RecordedSpec>& recorded, const std::filesystem::path& folder);

  // Of all specs; names without suffix and options.
  std::vector<std::wstring> names;
  std::vector<std::optional<reasons::Reason>> rejected;
  // Of those that were not rejected, with their index among all.
  std::vector<TemplateSpec> prepared;
  std::vector<std::size_t> recordedIndex;
};

}  // namespace quillmark::replay
