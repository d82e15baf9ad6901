// Registers every micro-benchmark twice, the second time as "NAME/control". Both run the same code, so the
// ratio of their times is the noise that a comparison of two builds must exceed. To be run with repetitions
// and random interleaving (bench/run.sh).
//
// Threading: one thread.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <opencv2/core.hpp>
#include <string>

namespace quillmark::bench {

using Body = std::function<void(benchmark::State&)>;

// Whose CPU time is reported: the measuring thread's, or the process's where several threads work.
enum class Counts { Thread, Process };

inline void Measure(const std::string& name, const Body& body, Counts counts = Counts::Thread) {
  for (const std::string& each : {name, name + "/control"}) {
    auto* const registered = benchmark::RegisterBenchmark(each.c_str(), body);
    registered->Unit(benchmark::kMicrosecond);
    if (counts == Counts::Process) registered->MeasureProcessCPUTime()->UseRealTime();
  }
}

// Runs everything that was registered, with OpenCV on one thread as in the worker. Returns the exit code.
inline int RunAll(int argc, char** argv) {
  cv::setUseOptimized(true);
  cv::setNumThreads(1);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace quillmark::bench
