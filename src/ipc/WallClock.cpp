#include "ipc/WallClock.h"

#include <windows.h>

namespace quillmark {

namespace {

constexpr std::uint64_t TicksPerMs = 10'000;                    // a tick is 100 ns
constexpr std::uint64_t MsFrom1601To1970 = 11'644'473'600'000;  // file times count from 1601-01-01

}  // namespace

std::uint64_t WallClockMs() {
  FILETIME now{};
  ::GetSystemTimeAsFileTime(&now);
  const std::uint64_t ticks = (std::uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
  return ticks / TicksPerMs - MsFrom1601To1970;
}

}  // namespace quillmark
