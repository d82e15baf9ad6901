#include "host/WorkerProcess.h"

#include <windows.h>

#include "platform/UniqueHandle.h"

namespace quillmark::control::host {

// The upper half of the identity is the process id.
WorkerProcess ProcessOf(std::uint64_t identity) {
  constexpr std::uint64_t ticksPerMs = 10000, msFrom1601To1970 = 11644473600000;
  WorkerProcess process;
  process.id = static_cast<std::uint32_t>(identity >> 32);
  const UniqueHandle handle(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process.id));
  FILETIME created{}, ignored{};
  if (handle && ::GetProcessTimes(handle.Get(), &created, &ignored, &ignored, &ignored)) {
    const std::uint64_t ticks = std::uint64_t{created.dwHighDateTime} << 32 | created.dwLowDateTime;
    process.startedMs = ticks / ticksPerMs - msFrom1601To1970;
  }
  return process;
}

}  // namespace quillmark::control::host
