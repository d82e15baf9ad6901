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

class SpecTable {
 public:
  // Image paths are relative to the folder. Raises FormatError for two specs of one name.
  SpecTable(const std::vector<RecordedSpec>& recorded, const std::filesystem::path& folder);

  // Those that were not rejected.
  [[nodiscard]] const std::vector<TemplateSpec>& Prepared() const { return prepared; }
  // The index of a prepared spec among all.
  [[nodiscard]] std::size_t RecordedIndex(std::size_t ofPrepared) const { return recordedIndex[ofPrepared]; }

  // Of all specs, without suffix and options.
  [[nodiscard]] const std::vector<std::wstring>& Names() const { return names; }
  [[nodiscard]] std::optional<explain::Reason> Rejected(std::size_t recorded) const {
    return rejected[recorded];
  }

 private:
  std::vector<TemplateSpec> prepared;
  std::vector<std::size_t> recordedIndex;
  std::vector<std::wstring> names;
  std::vector<std::optional<explain::Reason>> rejected;
};

}  // namespace quillmark::replay
