#include "replay/SpecTable.h"

#include <algorithm>
#include <utility>

#include "client/Text.h"
#include "explain/Explain.h"
#include "replay/FrameFiles.h"

namespace quillmark::replay {

SpecTable::SpecTable(const std::vector<RecordedSpec>& recorded, const std::filesystem::path& folder) {
  for (const RecordedSpec& values : recorded) {
    explain::Explanation made = explain::PrepareExplanation(
        {values.target, values.name, WidePath(PathIn(folder, values.path)),
         cv::Rect(values.x, values.y, values.width, values.height), values.edgeMin, values.threshold});
    if (std::find(names.begin(), names.end(), made.spec.name) != names.end()) {
      throw FormatError(std::string(RecordingFile) + ": specs[" + std::to_string(names.size()) +
                        "].name: is that of a spec before it, '" + client::ToUtf8(made.spec.name) + "'");
    }
    names.push_back(made.spec.name);
    refused.push_back(made.reason);
    if (made.reason) continue;
    recordedIndex.push_back(names.size() - 1);
    prepared.push_back(std::move(made.spec));
  }
}

}  // namespace quillmark::replay
