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

// The list of handles that one new process inherits.
class Inheritance {
 public:
  explicit Inheritance(const StandardStreams& streams) {
    for (const HANDLE handle : {streams.input, streams.output, streams.errors}) {
      if (handle == nullptr) continue;
      ::SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
      handles.push_back(handle);
    }
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    memory.resize(size);
    if (!::InitializeProcThreadAttributeList(List(), 1, 0, &size)) Fail("a list of handles");
    if (!handles.empty() &&
        !::UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                     handles.size() * sizeof(HANDLE), nullptr, nullptr)) {
      Fail("a list of handles");
    }
  }
  ~Inheritance() { ::DeleteProcThreadAttributeList(List()); }
  Inheritance(const Inheritance&) = delete;
  Inheritance& operator=(const Inheritance&) = delete;

  LPPROC_THREAD_ATTRIBUTE_LIST List() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
  }
  bool Any() const { return !handles.empty(); }

 private:
  std::vector<HANDLE> handles;
  std::vector<std::byte> memory;
};

}  // namespace

StartedProcess StartProcess(const std::vector<std::string>& utf8Arguments,
                            const std::filesystem::path& folder, const StandardStreams& streams) {
  std::wstring commandLine;
  for (const std::string& argument : utf8Arguments) {
    commandLine += (commandLine.empty() ? L"" : L" ") + Quoted(Widen(argument));
  }
  Inheritance inheritance(streams);
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = streams.input;
  startup.StartupInfo.hStdOutput = streams.output;
  startup.StartupInfo.hStdError = streams.errors;
  startup.lpAttributeList = inheritance.List();

  PROCESS_INFORMATION process{};
  if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, inheritance.Any(),
                        EXTENDED_STARTUPINFO_PRESENT | CREATE_SUSPENDED, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &startup.StartupInfo, &process)) {
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
