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
#include <string>

#include "host/linux/Display.h"
#include "ipc/WireFormat.h"
#include "kernel32/SessionFolder.h"
#include "kernel32/SharedFile.h"

namespace quillmark::control::host {
namespace {

namespace fs = std::filesystem;
using layer::SessionRoad;

constexpr char InstanceMutex[] = "KXRQTLV1_Quillmark.mutex";

fs::path FolderOf(const SessionRoad& road) {
  return fs::path(road.base) / road.product / road.display;
}

Finding Refused(const fs::path& folder, const std::string& why, const std::string& remedy) {
  return {.level = Level::Problem,
          .topic = "folder",
          .text = folder.string() + " " + why,
          .consequence = "neither worker nor controller uses it: no named object can be opened",
          .remedy = remedy,
          .facts = {{"folder", folder.string()}}};
}

// What keeps one folder of the road from being used; nothing when it may be, or is missing and can be made.
std::optional<Finding> Objection(const fs::path& folder, bool mustBePrivate) {
  struct stat facts {};
  if (::lstat(folder.c_str(), &facts) != 0) {
    if (errno == ENOENT && mustBePrivate) return std::nullopt;
    return Refused(folder, std::string("cannot be looked at: ") + std::strerror(errno),
                   "log in anew, or set XDG_RUNTIME_DIR to a folder of your own, for worker and tool alike");
  }
  if (!mustBePrivate) {
    if (::access(folder.c_str(), R_OK | X_OK) == 0) return std::nullopt;
    return Refused(folder, "may not be entered", "set XDG_RUNTIME_DIR to a folder of your own");
  }
  if (!S_ISDIR(facts.st_mode)) return Refused(folder, "is no real folder", "remove it");
  if (facts.st_uid != ::geteuid()) {
    return Refused(folder, "belongs to user " + std::to_string(facts.st_uid) + ", not to you",
                   "have that user or root remove it");
  }
  if ((facts.st_mode & 077) != 0) {
    return Refused(folder, "is open to other users", "chmod 700 " + folder.string());
  }
  return std::nullopt;
}

Finding ExamineFolder(const SessionRoad& road) {
  const fs::path folder = FolderOf(road);
  if (auto finding = Objection(road.base, false)) return *finding;
  if (auto finding = Objection(folder.parent_path(), true)) return *finding;
  if (auto finding = Objection(folder, true)) return *finding;
  if (!layer::OpenSessionFolder()) {
    return Refused(folder, "cannot be made", "make sure that you may write to " + road.base);
  }
  return {.topic = "folder",
          .text = "named objects lie in " + folder.string() + ", closed to others",
          .facts = {{"folder", folder.string()}}};
}

std::string SizeText(std::uint64_t bytes) {
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

Finding ExamineMemory(const fs::path& folder) {
  constexpr std::uint64_t needed = sizeof(CmdRingLayout) + sizeof(HitRingLayout) + 2 * 8;
  constexpr std::uint64_t fewFiles = 64;
  Finding finding{.topic = "memory"};
  struct statvfs facts {};
  if (::statvfs(folder.c_str(), &facts) != 0) {
    finding.level = Level::Warning;
    finding.text = "the free space of " + folder.string() + " cannot be told: " + std::strerror(errno);
    finding.consequence = "unknown whether the rings find place";
    finding.remedy = "see the finding about the folder";
    return finding;
  }
  const std::uint64_t space = std::uint64_t{facts.f_bavail} * facts.f_frsize;
  const std::uint64_t fileSize = LimitOf(RLIMIT_FSIZE), files = LimitOf(RLIMIT_NOFILE);
  finding.facts = {{"freeBytes", space}, {"freeFiles", facts.f_favail}, {"neededBytes", needed}};
  finding.text = SizeText(space) + " free for shared memory, of which the rings need " + SizeText(needed);
  const auto worsen = [&](Level level, std::string text, std::string remedy) {
    finding.level = level;
    finding.text = std::move(text);
    finding.consequence =
        "the rings cannot be made: " + std::string("the worker and its controllers fail to start");
    finding.remedy = std::move(remedy);
  };
  if (space < needed || (facts.f_files != 0 && facts.f_favail < 4)) {
    worsen(Level::Problem, "the file system of " + folder.string() + " is full", "remove files there");
  } else if (fileSize < sizeof(CmdRingLayout)) {
    worsen(Level::Problem, "files may not be larger than " + SizeText(fileSize) + " (ulimit -f)",
           "ulimit -f unlimited");
  } else if (files < fewFiles) {
    worsen(Level::Warning, "only " + std::to_string(files) + " files may be open at once (ulimit -n)",
           "ulimit -n 1024");
    finding.consequence = "the worker may run out of them";
  }
  return finding;
}

// Whether a worker of the session with this folder holds its instance mutex. Only asks: it takes no lock.
bool WorkerRunsIn(const fs::path& folder) {
  const layer::UniqueFd file(::open((folder / InstanceMutex).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = layer::SharedFile::ownerByte;
  lock.l_len = 1;
  return file && ::fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Workers on other displays, which this session's controllers do not reach.
void ExamineNeighbours(const SessionRoad& road, Findings& findings) {
  const fs::path own = FolderOf(road);
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(own.parent_path(), ignored)) {
    if (entry.path() == own || !WorkerRunsIn(entry.path())) continue;
    const std::string name = entry.path().filename().string();
    findings.push_back({.level = WorkerRunsIn(own) ? Level::Ok : Level::Warning,
                        .topic = "session",
                        .text = "a worker runs for another display, whose folder is " + name,
                        .consequence = "what is sent here does not reach it",
                        .remedy = "set DISPLAY as that worker has it; ':' stands as '_' in the folder's name",
                        .facts = {{"folder", entry.path().string()}}});
  }
}

}  // namespace

Findings ExamineSession() {
  const SessionRoad road = layer::RoadOfSession();
  Findings findings{ExamineFolder(road)};
  if (findings.front().level == Level::Ok) {
    findings.push_back(ExamineMemory(FolderOf(road)));
    ExamineNeighbours(road, findings);
  }
  for (Finding& finding : ExamineDisplay()) findings.push_back(std::move(finding));
  findings.push_back(ExamineFonts());
  return findings;
}

}  // namespace quillmark::control::host
