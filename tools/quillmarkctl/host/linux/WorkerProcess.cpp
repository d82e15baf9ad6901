#include "host/WorkerProcess.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace quillmark::control::host {
namespace {

// The value after a name at the start of a line; 0 without it.
std::uint64_t ValueIn(const std::string& file, const std::string& name) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string first;
    std::uint64_t value = 0;
    if (words >> first >> value && first == name) return value;
  }
  return 0;
}

// In clock ticks since boot.
std::uint64_t StartTicks(std::uint32_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string stat;
  std::getline(file, stat);
  // The program's name, in brackets, may contain anything.
  std::istringstream fields(stat.substr(std::min(stat.rfind(')') + 1, stat.size())));
  constexpr int startField = 22, firstField = 3;
  std::string field;
  for (int i = firstField; i <= startField; ++i) fields >> field;
  return fields ? std::stoull(field) : 0;
}

}  // namespace

// The identity is the main thread's id, which is also the process's.
WorkerProcess ProcessOf(std::uint64_t identity) {
  WorkerProcess process;
  process.id = static_cast<std::uint32_t>(identity);
  if (process.id == 0) return process;
  const std::uint64_t bootSeconds = ValueIn("/proc/stat", "btime");
  const std::uint64_t ticks = StartTicks(process.id);
  const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
  if (bootSeconds != 0 && ticks != 0 && ticksPerSecond > 0) {
    process.startedMs = bootSeconds * 1000 + ticks * 1000 / static_cast<std::uint64_t>(ticksPerSecond);
  }
  return process;
}

}  // namespace quillmark::control::host
