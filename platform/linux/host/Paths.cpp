#include "host/Paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "host/Text.h"

namespace quillmark::layer {

std::string HostPath(std::wstring_view path) {
  bool valid = true;
  std::string host = ToUtf8(path, &valid);
  std::replace(host.begin(), host.end(), '\\', '/');
  return valid ? host : std::string();
}

std::string ProgramOfProcess(const std::string& process) {
  char buffer[PATH_MAX];
  const ssize_t length = ::readlink(("/proc/" + process + "/exe").c_str(), buffer, sizeof(buffer));
  if (length < 0) return {};
  std::string path(buffer, static_cast<std::size_t>(length));
  // The kernel appends this once the file is gone, but a file may also have such a name.
  constexpr std::string_view mark = " (deleted)";
  struct stat facts {};
  if (path.ends_with(mark) && ::lstat(path.c_str(), &facts) != 0) path.resize(path.size() - mark.size());
  return path;
}

}  // namespace quillmark::layer
