// The specs of a recording as the worker would hold them: prepared, or refused with the reason.
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
  // Relative paths of images start at the folder. Raises FormatError for two specs of one name.
  SpecTable(const std::vector<RecordedSpec>& recorded, const std::filesystem::path& folder);

  // Those that were not refused, in their order.
  [[nodiscard]] const std::vector<TemplateSpec>& Prepared() const { return prepared; }
  // The index of a prepared spec among all.
  [[nodiscard]] std::size_t RecordedIndex(std::size_t ofPrepared) const { return recordedIndex[ofPrepared]; }

  // Of all, without suffix and options.
  [[nodiscard]] const std::vector<std::wstring>& Names() const { return names; }
  [[nodiscard]] std::optional<explain::Reason> Refused(std::size_t recorded) const {
    return refused[recorded];
  }

 private:
  std::vector<TemplateSpec> prepared;
  std::vector<std::size_t> recordedIndex;
  std::vector<std::wstring> names;
  std::vector<std::optional<explain::Reason>> refused;
};

}  // namespace quillmark::replay
