// One record of the stream that a client hands out: what the worker reported, or what became of the worker.
//
// Threading: plain values.
#pragma once

#include <cstdint>
#include <string>

namespace quillmark::client {

struct Record {
  enum class Kind {
    Hit,
    Reply,          // to a command of any client
    Dropped,        // `count` hits were lost; it cannot be known when exactly
    WorkerGone,     // no worker is running any more
    WorkerStarted,  // a new one is running; it knows no specs
  };
  Kind kind = Kind::Hit;
  // UTC milliseconds since 1970-01-01: the worker's time for hits and replies, else when it was noticed.
  std::uint64_t tsMs = 0;
  // Hits: centre and size in pixels of the target's client area.
  std::int32_t cx = 0, cy = 0, w = 0, h = 0;
  float score = 0.0f, edge = 0.0f;
  std::uint32_t count = 0;
  std::string name{};  // of the spec, or the reply's text; UTF-8, unpaired surrogates as U+FFFD
};

}  // namespace quillmark::client
