// What the kernel knows about a running process.
//
// Threading: no shared state.
#pragma once

#include <unistd.h>

#include <sys/types.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

namespace quillmark::bench {

struct ProcessFacts {
  double cpuSeconds = 0.0;  // of all its threads, user and system
  long residentKb = 0, peakKb = 0;
  long threads = 0;
  long descriptors = 0;
  long wakeUps = 0;  // times that a thread has waited and gone on
};

// Zeros if the process is gone.
inline ProcessFacts FactsOf(pid_t pid) {
  const std::filesystem::path folder = "/proc/" + std::to_string(pid);
  ProcessFacts facts;
  std::ifstream statFile(folder / "stat");
  std::string stat{std::istreambuf_iterator<char>(statFile), {}};
  // The fields after the program's name in brackets; the 12th and 13th are the times in clock ticks.
  std::istringstream fields(stat.substr(std::min(stat.size(), stat.rfind(')') + 1)));
  std::string skipped;
  for (int i = 0; i < 11; ++i) fields >> skipped;
  long user = 0, system = 0;
  fields >> user >> system;
  facts.cpuSeconds = static_cast<double>(user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));

  std::ifstream status(folder / "status");
  for (std::string key; status >> key;) {
    if (key == "VmRSS:") status >> facts.residentKb;
    if (key == "VmHWM:") status >> facts.peakKb;
    if (key == "Threads:") status >> facts.threads;
  }
  std::error_code gone;
  for (std::filesystem::directory_iterator each(folder / "task", gone), end; each != end; ++each) {
    std::ifstream thread(each->path() / "status");
    for (std::string key; thread >> key;) {
      long count = 0;
      if (key == "voluntary_ctxt_switches:" && thread >> count) facts.wakeUps += count;
    }
  }
  for (std::filesystem::directory_iterator each(folder / "fd", gone), end; each != end; ++each) {
    ++facts.descriptors;
  }
  return facts;
}

// This process's child of that name, for example the X server a test display has started.
inline std::optional<pid_t> ChildNamed(const std::string& name) {
  for (const auto& each : std::filesystem::directory_iterator("/proc")) {
    if (each.path().filename().string().find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream statFile(each.path() / "stat");
    const std::string stat{std::istreambuf_iterator<char>(statFile), {}};
    const std::size_t end = stat.rfind(')');
    if (end == std::string::npos) continue;
    std::istringstream fields(stat.substr(end + 1));
    std::string state;
    pid_t parent = 0;
    fields >> state >> parent;
    if (parent == ::getpid() && stat.find("(" + name + ")") != std::string::npos) return std::stoi(stat);
  }
  return std::nullopt;
}

}  // namespace quillmark::bench
