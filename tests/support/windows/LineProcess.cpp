#include "support/LineProcess.h"

#include <stdexcept>

#include "support/windows/Processes.h"

namespace quillmark::test {

struct LineProcess::Host {
  StartedProcess process;
  UniqueHandle input;   // to its standard input
  UniqueHandle output;  // from its standard output
};

LineProcess::LineProcess(const std::string& program, const std::vector<std::string>& arguments)
    : host(std::make_unique<Host>()) {
  HANDLE ends[2][2];
  for (auto& [read, write] : ends) {
    if (!::CreatePipe(&read, &write, nullptr, 0)) throw std::runtime_error("cannot make pipes");
  }
  const UniqueHandle theirInput(ends[0][0]), theirOutput(ends[1][1]);
  host->input.Reset(ends[0][1]);
  host->output.Reset(ends[1][0]);

  std::vector<std::string> command{program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  host->process = StartProcess(command, {}, {theirInput.Get(), theirOutput.Get(), nullptr});
}

LineProcess::~LineProcess() {
  Kill();
}

void LineProcess::Say(const std::string& line) {
  const std::string text = line + "\n";
  DWORD written = 0;
  ::WriteFile(host->input.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

std::size_t LineProcess::Read(char* bytes, std::size_t capacity) {
  DWORD count = 0;
  // Fails once the process has ended and everything it wrote has been read.
  return ::ReadFile(host->output.Get(), bytes, static_cast<DWORD>(capacity), &count, nullptr) ? count : 0;
}

void LineProcess::Kill() {
  if (!host->process.handle) return;
  ::TerminateProcess(host->process.handle.Get(), static_cast<UINT>(-1));
  ::WaitForSingleObject(host->process.handle.Get(), INFINITE);
  host->process.handle.Reset();
}

int LineProcess::Id() const {
  return host->process.handle ? static_cast<int>(host->process.id) : -1;
}

}  // namespace quillmark::test
