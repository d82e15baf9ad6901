#include "host/SessionFolder.h"

#include <windows.h>

#include <string>

namespace quillmark::control::host {

// The system has no folder of a session; one a session number does, as the records in it name the worker.
std::filesystem::path SessionFolder() {
  DWORD session = 0;
  ::ProcessIdToSessionId(::GetCurrentProcessId(), &session);
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("quillmark-session-" + std::to_string(session));
  std::filesystem::create_directories(folder);
  return folder;
}

}  // namespace quillmark::control::host
