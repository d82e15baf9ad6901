#include "replay/SpecTable.h"

#include <algorithm>
#include <utility>

#include "client/Text.h"
#include "explain/Explain.h"
#include "specs/Utf8.h"
#include "text/Printable.h"

namespace quillmark::replay {

SpecTable::SpecTable(const std::vector<RecordedSpec>& recorded, const std::filesystem::path& folder) {
  for (const RecordedSpec& values : recorded) {
    explain::Explanation made = explain::PrepareExplanation({values.target, values.name,
                                                             FromUtf8(Utf8Of(folder / PathOf(values.path))),
                                                             values.roi, values.edgeMin, values.threshold});
    if (std::ranges::count(names, made.spec.name) != 0) {
      throw FormatError(std::string(RecordingFile) + ": specs[" + std::to_string(names.size()) +
                        "].name: is the name of an earlier spec, '" + client::ToUtf8(made.spec.name) + "'");
    }
    names.push_back(made.spec.name);
    rejected.push_back(made.reason);
    if (made.reason) continue;
    recordedIndex.push_back(names.size() - 1);
    prepared.push_back(std::move(made.spec));
  }
}

}  // namespace quillmark::replay
