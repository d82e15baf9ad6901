#include "support/windows/Processes.h"

#include <system_error>

namespace quillmark::test {

namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

std::wstring Widen(const std::string& utf8) {
  const int length = static_cast<int>(utf8.size());
  std::wstring wide(utf8.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, wide.data(), length)));
  if (wide.empty() && !utf8.empty()) Fail(utf8);
  return wide;
}

// As the C run-time library of the other process takes a command line apart: a backslash means itself unless
// it stands, with others, before a quotation mark.
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

// The kernel ends every process of the job when this process ends and its handle with it.
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

// Lets the next process inherit the streams while it lives. A process that another thread starts meanwhile
// would inherit them too: tests start programs on one thread.
class Inheritance {
 public:
  explicit Inheritance(const StandardStreams& streams)
      : handles{streams.input, streams.output, streams.errors} {
    Allow(HANDLE_FLAG_INHERIT);
  }
  ~Inheritance() { Allow(0); }
  Inheritance(const Inheritance&) = delete;
  Inheritance& operator=(const Inheritance&) = delete;

 private:
  void Allow(DWORD inherit) {
    for (const HANDLE handle : handles) {
      if (handle != nullptr) ::SetHandleInformation(handle, HANDLE_FLAG_INHERIT, inherit);
    }
  }

  const HANDLE handles[3];
};

}  // namespace

StartedProcess StartProcess(const std::vector<std::string>& utf8Arguments,
                            const std::filesystem::path& folder, const StandardStreams& streams) {
  std::wstring commandLine;
  for (const std::string& argument : utf8Arguments) {
    commandLine += (commandLine.empty() ? L"" : L" ") + Quoted(Widen(argument));
  }
  const Inheritance inheritance(streams);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = streams.input;
  startup.hStdOutput = streams.output;
  startup.hStdError = streams.errors;

  PROCESS_INFORMATION process{};
  if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &startup, &process)) {
    Fail(utf8Arguments.front());
  }
  StartedProcess started{UniqueHandle(process.hProcess), process.dwProcessId};
  const UniqueHandle thread(process.hThread);
  // Before its first instruction, so that nothing it starts is left out.
  if (!::AssignProcessToJobObject(Job(), process.hProcess)) {
    const DWORD error = ::GetLastError();
    ::TerminateProcess(process.hProcess, 1);
    ::SetLastError(error);
    Fail(utf8Arguments.front());
  }
  ::ResumeThread(process.hThread);
  return started;
}

}  // namespace quillmark::test
