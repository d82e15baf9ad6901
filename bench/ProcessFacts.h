// What the kernel knows about a running process.
//
// Threading: no shared state.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace quillmark::bench {

struct ProcessFacts {
  double cpuSeconds = 0.0;  // of its present threads, user and system, as the scheduler counts
  long wakeUps = 0;         // of its present threads: how often they waited
  long residentKb = 0, peakKb = 0;
  long threads = 0;
  long descriptors = 0;
};

// Zeros if the process is gone.
inline ProcessFacts FactsOf(pid_t pid) {
  const std::filesystem::path folder = "/proc/" + std::to_string(pid);
  ProcessFacts facts;
  std::error_code gone;
  for (std::filesystem::directory_iterator each(folder / "task", gone), end; each != end;
       each.increment(gone)) {
    double nanoseconds = 0.0;
    std::ifstream(each->path() / "schedstat") >> nanoseconds;
    facts.cpuSeconds += nanoseconds * 1e-9;
    std::ifstream status(each->path() / "status");
    for (std::string key; status >> key;) {
      long count = 0;
      if (key == "voluntary_ctxt_switches:" && status >> count) facts.wakeUps += count;
    }
  }

  std::ifstream status(folder / "status");
  for (std::string key; status >> key;) {
    if (key == "VmRSS:") status >> facts.residentKb;
    if (key == "VmHWM:") status >> facts.peakKb;
    if (key == "Threads:") status >> facts.threads;
  }
  for (std::filesystem::directory_iterator each(folder / "fd", gone), end; each != end; ++each) {
    ++facts.descriptors;
  }
  return facts;
}

}  // namespace quillmark::bench
