#include "DebuggerOutput.h"

#include <map>
#include <mutex>

#include "support/windows/DebugOutputReader.h"

namespace quillmark::test {

struct DebuggerOutput::Host {
  std::mutex mutex;
  std::map<std::uint32_t, std::string> texts;  // by process
  DebugOutputReader reader{[this](std::uint32_t processId, std::string_view text) {
    const std::lock_guard lock(mutex);
    texts[processId] += text;
  }};
};

DebuggerOutput::DebuggerOutput() : host(std::make_unique<Host>()) {}
DebuggerOutput::~DebuggerOutput() = default;

std::string DebuggerOutput::Of(const Program& program) const {
  const std::lock_guard lock(host->mutex);
  return host->texts[static_cast<std::uint32_t>(program.Pid())];
}

}  // namespace quillmark::test
