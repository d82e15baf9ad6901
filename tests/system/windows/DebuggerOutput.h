// What programs under test write to the debugger output. Create it before the programs.
//
// Threading: the test's main thread.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "Programs.h"
#include "support/windows/DebugOutputReader.h"

namespace quillmark::test {

class DebuggerOutput {
 public:
  // The program's lines so far, UTF-8. Characters outside the code page may be lost: tests look for ASCII.
  std::string Of(const Program& program) const {
    const std::lock_guard lock(mutex);
    const auto found = texts.find(static_cast<std::uint32_t>(program.Pid()));
    return found == texts.end() ? "" : found->second;
  }

 private:
  mutable std::mutex mutex;
  std::map<std::uint32_t, std::string> texts;  // by process
  const DebugOutputReader reader{[this](std::uint32_t processId, std::string_view text) {
    const std::lock_guard lock(mutex);
    texts[processId] += text;
  }};
};

}  // namespace quillmark::test
