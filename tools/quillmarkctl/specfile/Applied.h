// What was last sent to the worker from one spec file, kept beside the session's named objects: the worker
// cannot be asked for its specs, and forgets them when it ends. A record of another worker counts as none.
//
// Threading: one thread. Two that apply the same file at once overwrite each other's record.
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

  // Of each spec by its name, what was sent: a text that differs when anything of it does.
  std::map<std::string, std::string> sent;

  void Save() const;

 private:
  std::filesystem::path record;
  std::string worker_;
};

}  // namespace quillmark::control
