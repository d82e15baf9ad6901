#include "host/Session.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

#include "host/linux/Display.h"
#include "ipc/WireFormat.h"
#include "kernel32/SessionFolder.h"
#include "kernel32/SharedFile.h"

namespace quillmark::control::host {
namespace {

namespace fs = std::filesystem;
using layer::SessionPath;

constexpr char InstanceMutex[] = "KXRQTLV1_Quillmark.mutex";

fs::path FolderOf(const SessionPath& path) {
  return fs::path(path.base) / path.product / path.display;
}

Check Refused(const fs::path& folder, const std::string& why, const std::string& remedy) {
  return {.level = Level::Problem,
          .topic = "folder",
          .text = folder.string() + " " + why,
          .consequence = "worker and controllers reject it, so no named object can be opened",
          .remedy = remedy,
          .facts = {{"folder", folder.string()}}};
}

// Why one folder of the path cannot be used; empty if it can, or if it can be created.
std::optional<Check> Objection(const fs::path& folder, bool mustBePrivate) {
  struct stat facts {};
  if (::lstat(folder.c_str(), &facts) != 0) {
    if (errno == ENOENT && mustBePrivate) return std::nullopt;
    return Refused(
        folder, std::string("is not accessible: ") + std::strerror(errno),
        "log in again, or set XDG_RUNTIME_DIR to a folder that you own, for the worker and the tool");
  }
  if (!mustBePrivate) {
    if (::access(folder.c_str(), R_OK | X_OK) == 0) return std::nullopt;
    return Refused(folder, "is not accessible", "set XDG_RUNTIME_DIR to a folder that you own");
  }
  if (!S_ISDIR(facts.st_mode)) return Refused(folder, "is not a real folder", "remove it");
  if (facts.st_uid != ::geteuid()) {
    return Refused(folder, "belongs to user " + std::to_string(facts.st_uid),
                   "ask that user or root to remove it");
  }
  if ((facts.st_mode & 077) != 0) {
    return Refused(folder, "is open to other users", "chmod 700 " + folder.string());
  }
  return std::nullopt;
}

Check ExamineFolder(const SessionPath& path) {
  const fs::path folder = FolderOf(path);
  if (auto check = Objection(path.base, false)) return *check;
  if (auto check = Objection(folder.parent_path(), true)) return *check;
  if (auto check = Objection(folder, true)) return *check;
  if (!layer::OpenSessionFolder()) {
    return Refused(folder, "cannot be created", "check that you can write to " + path.base);
  }
  return {.topic = "folder",
          .text = "named objects are in " + folder.string() + ", private to you",
          .facts = {{"folder", folder.string()}}};
}

std::string BytesText(std::uint64_t bytes) {
  constexpr const char* units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  double value = static_cast<double>(bytes);
  std::size_t unit = 0;
  for (; value >= 1024.0 && unit + 1 < std::size(units); ++unit) value /= 1024.0;
  char text[48];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
  return text;
}

std::uint64_t LimitOf(decltype(RLIMIT_NOFILE) resource) {
  rlimit limit{};
  if (::getrlimit(resource, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return UINT64_MAX;
  return limit.rlim_cur;
}

Check ExamineMemory(const fs::path& folder) {
  constexpr std::uint64_t needed = sizeof(CmdRingLayout) + sizeof(HitRingLayout) + 2 * 8;
  constexpr std::uint64_t fewFiles = 64;
  Check check{.topic = "memory"};
  struct statvfs facts {};
  if (::statvfs(folder.c_str(), &facts) != 0) {
    check.level = Level::Warning;
    check.text = "the free space of " + folder.string() + " is unknown: " + std::strerror(errno);
    check.consequence = "there may be no room for the rings";
    check.remedy = "check the folder";
    return check;
  }
  const std::uint64_t space = std::uint64_t{facts.f_bavail} * facts.f_frsize;
  const std::uint64_t fileSize = LimitOf(RLIMIT_FSIZE), files = LimitOf(RLIMIT_NOFILE);
  check.facts = {{"freeBytes", space}, {"freeFiles", facts.f_favail}, {"neededBytes", needed}};
  check.text = BytesText(space) + " free for shared memory; the rings need " + BytesText(needed);
  const auto worsen = [&](Level level, std::string text, std::string remedy) {
    check.level = level;
    check.text = std::move(text);
    check.consequence = "the rings cannot be created, so the worker and its controllers fail to start";
    check.remedy = std::move(remedy);
  };
  if (space < needed || (facts.f_files != 0 && facts.f_favail < 4)) {
    worsen(Level::Problem, "the file system of " + folder.string() + " is full", "delete files there");
  } else if (fileSize < sizeof(CmdRingLayout)) {
    worsen(Level::Problem, "files are limited to " + BytesText(fileSize) + " (ulimit -f)",
           "ulimit -f unlimited");
  } else if (files < fewFiles) {
    worsen(Level::Warning, "only " + std::to_string(files) + " files can be open at once (ulimit -n)",
           "ulimit -n 1024");
    check.consequence = "the worker may run out of file descriptors";
  }
  return check;
}

// Whether a worker owns the instance mutex in this session folder. Takes no lock.
bool WorkerRunsIn(const fs::path& folder) {
  const layer::UniqueFd file(::open((folder / InstanceMutex).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  return file && layer::IsByteLocked(file.Get(), layer::SharedFile::kOwnerByte);
}

// Workers on other displays, which controllers of this session cannot reach.
void ExamineNeighbours(const SessionPath& path, Checks& checks) {
  const fs::path own = FolderOf(path);
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(own.parent_path(), ignored)) {
    if (entry.path() == own || !WorkerRunsIn(entry.path())) continue;
    const std::string name = entry.path().filename().string();
    checks.push_back({.level = WorkerRunsIn(own) ? Level::Ok : Level::Warning,
                      .topic = "session",
                      .text = "a worker is running on another display, with the folder " + name,
                      .consequence = "commands sent here do not reach it",
                      .remedy = "set DISPLAY as for that worker; the folder's name has '_' in place of ':'",
                      .facts = {{"folder", entry.path().string()}}});
  }
}

}  // namespace

// Where the named objects are.
fs::path SessionFolder() {
  if (!layer::OpenSessionFolder()) throw std::runtime_error("the session's folder cannot be opened");
  return FolderOf(layer::PathOfSession());
}

Checks ExamineSession() {
  const SessionPath path = layer::PathOfSession();
  Checks checks{ExamineFolder(path)};
  if (checks.front().level == Level::Ok) {
    checks.push_back(ExamineMemory(FolderOf(path)));
    ExamineNeighbours(path, checks);
  }
  for (Check& check : ExamineDisplay()) checks.push_back(std::move(check));
  checks.push_back(ExamineFonts());
  return checks;
}

}  // namespace quillmark::control::host
