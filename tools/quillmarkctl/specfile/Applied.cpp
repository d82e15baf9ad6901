#include "specfile/Applied.h"

#include "host/Files.h"
#include "host/Session.h"
#include "output/Output.h"
#include "specfile/Hash.h"
#include "text/Printable.h"

namespace quillmark::control {

Applied::Applied(const std::filesystem::path& specFile, std::uint64_t worker, std::uint64_t workerStartedMs)
    : record(host::SessionFolder() / ("applied-" + HashOf(Utf8Of(specFile)) + ".json")),
      worker_(std::to_string(worker) + "-" + std::to_string(workerStartedMs)) {
  // A damaged record is ignored: everything is sent again.
  const Json json = Json::parse(host::ContentOf(record).value_or(""), nullptr, false);
  if (!json.is_object() || json.value("worker", Json()) != worker_) return;
  const Json entries = json.value("sent", Json());
  if (!entries.is_object()) return;
  for (const auto& [name, what] : entries.items()) {
    if (what.is_string()) sent[name] = what.get<std::string>();
  }
}

void Applied::Save() const {
  const Json json = {{"worker", worker_}, {"sent", sent}};
  host::WriteFile(record, json.dump(1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace quillmark::control
