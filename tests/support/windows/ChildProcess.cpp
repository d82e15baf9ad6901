#include "support/ChildProcess.h"

#include <stdexcept>
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
  StartedProcess process;      // its handle is empty once it has been waited for
  UniqueHandle input, output;  // this side of a child's that talks
};

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : host(std::make_unique<Host>()) {
  if (surroundings.talks) {
    HANDLE ends[2][2];
    for (auto& [read, write] : ends) {
      if (!::CreatePipe(&read, &write, nullptr, 0)) throw std::runtime_error("cannot make pipes");
    }
    const UniqueHandle theirInput(ends[0][0]), theirOutput(ends[1][1]);
    host->input.Reset(ends[0][1]);
    host->output.Reset(ends[1][0]);
    host->process =
        StartProcess(arguments, surroundings.folder, {theirInput.Get(), theirOutput.Get(), nullptr});
    return;
  }
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

void ChildProcess::Write(std::string_view text) {
  DWORD written = 0;
  ::WriteFile(host->input.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

std::size_t ChildProcess::Read(char* bytes, std::size_t capacity) {
  DWORD count = 0;
  // Fails once the process has ended and everything it wrote has been read.
  return ::ReadFile(host->output.Get(), bytes, static_cast<DWORD>(capacity), &count, nullptr) ? count : 0;
}

}  // namespace quillmark::test
