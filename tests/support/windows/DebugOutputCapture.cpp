#include "support/DebugOutputCapture.h"

#include <windows.h>

#include "support/windows/DebugOutputReader.h"

namespace quillmark::test {

struct DebugOutputCapture::Host {
  DebugOutputReader reader;
};

DebugOutputCapture::DebugOutputCapture()
    : host(new Host{DebugOutputReader([this](std::uint32_t processId, std::string_view text) {
        if (processId == ::GetCurrentProcessId()) Collect(text);
      })}) {}

DebugOutputCapture::~DebugOutputCapture() = default;

}  // namespace quillmark::test
