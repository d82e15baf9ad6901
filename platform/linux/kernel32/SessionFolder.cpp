#include "kernel32/SessionFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

#include "kernel32/Errors.h"

namespace quillmark::layer {
namespace {

// An empty variable counts as unset.
std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string DisplayFolder() {
  std::string display = Environment("DISPLAY");
  if (display.empty()) return "none";
  constexpr std::string_view kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
  for (char& c : display) {
    if (kept.find(c) == std::string_view::npos) c = '_';
  }
  // These two would name other folders.
  if (display == "." || display == "..") display.assign(display.size(), '_');
  return display;
}

UniqueFd OpenPrivateFolder(int parent, const std::string& name) {
  if (::mkdirat(parent, name.c_str(), 0700) != 0 && errno != EEXIST) return UniqueFd();
  UniqueFd folder(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat facts {};
  if (!folder || ::fstat(folder.Get(), &facts) != 0) return UniqueFd();
  const bool closedToOthers = (facts.st_mode & 077) == 0;
  return facts.st_uid == ::geteuid() && closedToOthers ? std::move(folder) : UniqueFd();
}

}  // namespace

SessionPath PathOfSession() {
  std::string base = Environment("XDG_RUNTIME_DIR");
  if (!base.empty()) return {base, "quillmark", DisplayFolder()};
  return {"/dev/shm", "quillmark-" + std::to_string(::geteuid()), DisplayFolder()};
}

UniqueFd OpenSessionFolder() {
  const SessionPath path = PathOfSession();
  UniqueFd folder(::open(path.base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder) folder = OpenPrivateFolder(folder.Get(), path.product);
  if (folder) folder = OpenPrivateFolder(folder.Get(), path.display);
  if (!folder) ::SetLastError(ERROR_ACCESS_DENIED);
  return folder;
}

}  // namespace quillmark::layer
