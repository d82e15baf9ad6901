#include "support/ChildProcess.h"

#include <system_error>

#include "support/windows/Processes.h"

namespace quillmark::test {

namespace {

UniqueHandle OpenOutput(const std::filesystem::path& file) {
  const HANDLE opened = ::CreateFileW(file.empty() ? L"NUL" : file.c_str(), GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), file.string());
  }
  return UniqueHandle(opened);
}

}  // namespace

struct ChildProcess::Host {
  StartedProcess process;  // its handle is empty once it has been waited for
};

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : host(std::make_unique<Host>()) {
  const UniqueHandle output = OpenOutput(surroundings.output), errors = OpenOutput(surroundings.errors);
  host->process = StartProcess(arguments, surroundings.folder, {nullptr, output.Get(), errors.Get()});
}

ChildProcess::~ChildProcess() {
  Kill();
}

int ChildProcess::Pid() const {
  return host->process.handle ? static_cast<int>(host->process.id) : 0;
}

bool ChildProcess::Ended() const {
  return !host->process.handle || ::WaitForSingleObject(host->process.handle.Get(), 0) == WAIT_OBJECT_0;
}

void ChildProcess::Kill() {
  if (host->process.handle) ::TerminateProcess(host->process.handle.Get(), static_cast<UINT>(-1));
  Wait();
}

int ChildProcess::Wait() {
  if (!host->process.handle) return -1;
  DWORD code = 0;
  ::WaitForSingleObject(host->process.handle.Get(), INFINITE);
  ::GetExitCodeProcess(host->process.handle.Get(), &code);
  host->process.handle.Reset();
  return static_cast<int>(code);
}

}  // namespace quillmark::test
