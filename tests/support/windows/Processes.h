// Starting a program on this host.
//
// Threading: any thread.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/UniqueHandle.h"

namespace quillmark::test {

struct StandardStreams {
  HANDLE input = nullptr, output = nullptr, errors = nullptr;  // null for none
};

struct StartedProcess {
  UniqueHandle handle;
  DWORD id = 0;
};

// Starts a program, found by its path or by its name in PATH, in a job that ends with this process. It
// inherits the streams and nothing else. Throws std::system_error when it cannot be started.
StartedProcess StartProcess(const std::vector<std::string>& utf8Arguments,
                            const std::filesystem::path& folder, const StandardStreams& streams);

}  // namespace quillmark::test
