// What every micro-benchmark program shares: each benchmark is registered twice, the second time as
// "NAME/control". The two are the same code, so the ratio of their times is the noise that a comparison of
// two builds has to exceed. Run with repetitions and random interleaving (bench/run.sh), they see the same
// phases of the machine.
//
// Threading: one thread.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <opencv2/core.hpp>
#include <string>

namespace quillmark::bench {

using Body = std::function<void(benchmark::State&)>;

// Reports CPU time: of the measuring thread, or of the whole process where the work is spread over threads.
enum class Counts { Thread, Process };

inline void Measure(const std::string& name, const Body& body, Counts counts = Counts::Thread) {
  for (const std::string& each : {name, name + "/control"}) {
    auto* const registered = benchmark::RegisterBenchmark(each.c_str(), body);
    registered->Unit(benchmark::kMicrosecond);
    if (counts == Counts::Process) registered->MeasureProcessCPUTime()->UseRealTime();
  }
}

// The end of main, after everything has been registered. OpenCV runs as it does in the worker: on one thread.
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
