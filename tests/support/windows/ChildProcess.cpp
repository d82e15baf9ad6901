#include "support/ChildProcess.h"

#include <windows.h>

#include <stdexcept>
#include <system_error>

#include "platform/UniqueHandle.h"

namespace quillmark::test {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

fs::path FromUtf8(const std::string& text) {
  return std::u8string(text.begin(), text.end());
}

// Escaped for the C run-time library of the other process: a backslash stands for itself unless a quotation
// mark follows it or its like.
std::wstring Quoted(const std::wstring& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    quoted += unit;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

// The kernel ends every process of the job when this process ends and closes its handle.
HANDLE Job() {
  static const UniqueHandle job = [] {
    UniqueHandle made(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!made ||
        !::SetInformationJobObject(made.Get(), JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
      Fail("a job of child processes");
    }
    return made;
  }();
  return job.Get();
}

UniqueHandle OpenOutput(const fs::path& file) {
  UniqueHandle opened(::CreateFileW(file.empty() ? L"NUL" : file.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    file == L"CONOUT$" ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                    nullptr));
  if (opened.Get() == INVALID_HANDLE_VALUE) Fail(file.string());
  return opened;
}

}  // namespace

struct ChildProcess::Host {
  UniqueHandle process;  // empty once it has been waited for
  DWORD id = 0;
  UniqueHandle input, output;  // this side's ends, if the child talks
};

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Surroundings& surroundings)
    : host(std::make_unique<Host>()) {
  UniqueHandle input, output, errors;  // the child's
  if (surroundings.talks) {
    HANDLE ends[2][2];
    for (auto& [read, write] : ends) {
      if (!::CreatePipe(&read, &write, nullptr, 0)) throw std::runtime_error("cannot make pipes");
    }
    input.Reset(ends[0][0]);
    host->input.Reset(ends[0][1]);
    host->output.Reset(ends[1][0]);
    output.Reset(ends[1][1]);
  } else {
    output = OpenOutput(surroundings.output);
    errors = OpenOutput(surroundings.errors);
  }
  // A process that another thread starts meanwhile would inherit them too: tests start programs on one
  // thread.
  for (const HANDLE stream : {input.Get(), output.Get(), errors.Get()}) {
    if (stream != nullptr) ::SetHandleInformation(stream, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  }

  std::wstring commandLine;
  for (const std::string& argument : arguments) {
    commandLine += (commandLine.empty() ? L"" : L" ") + Quoted(FromUtf8(argument).wstring());
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input.Get();
  startup.hStdOutput = output.Get();
  startup.hStdError = errors.Get();
  PROCESS_INFORMATION started{};
  if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                        surroundings.folder.empty() ? nullptr : surroundings.folder.c_str(), &startup,
                        &started)) {
    Fail(arguments.front());
  }
  host->process.Reset(started.hProcess);
  host->id = started.dwProcessId;
  const UniqueHandle thread(started.hThread);
  // Before its first instruction, since the job covers only what a process starts later.
  if (!::AssignProcessToJobObject(Job(), started.hProcess)) {
    const DWORD error = ::GetLastError();
    Kill();
    ::SetLastError(error);
    Fail(arguments.front());
  }
  ::ResumeThread(started.hThread);
}

ChildProcess::~ChildProcess() {
  Kill();
}

int ChildProcess::Pid() const {
  return host->process ? static_cast<int>(host->id) : 0;
}

bool ChildProcess::Ended() const {
  return !host->process || ::WaitForSingleObject(host->process.Get(), 0) == WAIT_OBJECT_0;
}

void ChildProcess::Kill() {
  if (host->process) ::TerminateProcess(host->process.Get(), static_cast<UINT>(-1));
  Wait();
}

int ChildProcess::Wait() {
  if (!host->process) return -1;
  DWORD code = 0;
  ::WaitForSingleObject(host->process.Get(), INFINITE);
  ::GetExitCodeProcess(host->process.Get(), &code);
  host->process.Reset();
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
