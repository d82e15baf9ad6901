// What was last sent to the worker from one spec file, kept in the session's folder: the worker cannot report
// its specs, and forgets them when it ends. A record for another worker is ignored.
//
// Threading: one thread. Processes that apply the same file at once overwrite each other's record.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace quillmark::control {

class Applied {
 public:
  // Reads the record for the file and this worker. Raises std::runtime_error when the session has no folder.
  Applied(const std::filesystem::path& specFile, std::uint64_t worker, std::uint64_t workerStartedMs);

  // A fingerprint of what was sent, by the spec's name.
  std::map<std::string, std::string> sent;

  void Save() const;

 private:
  std::filesystem::path record;
  std::string worker_;
};

}  // namespace quillmark::control
