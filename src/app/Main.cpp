// The process: one instance per session, a probe of the diagnostic outputs, then the command pump until the
// end.
#include <windows.h>

#include "app/CommandPump.h"
#include "app/FatalHandlers.h"
#include "app/frame/DpiAwareness.h"
#include "app/frame/OpenCvConfig.h"
#include "platform/UniqueHandle.h"

namespace {

using quillmark::UniqueHandle;

constexpr int kFailed = 1;
constexpr int kAlreadyRunning = 2;

// Appends one line to the probe file in the current folder; failures are ignored.
void WriteProbeFile() {
  constexpr char16_t kText[] = u"[PROBE] file write alive\r\n";
  constexpr DWORD kBytes = sizeof kText - sizeof kText[0];
  static_assert(kBytes == 52);
  const HANDLE file = ::CreateFileW(L".\\probe_log.txt", GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  const UniqueHandle owner(file);
  DWORD written = 0;
  ::SetFilePointer(file, 0, nullptr, FILE_END);
  ::WriteFile(file, kText, kBytes, &written, nullptr);
}

int RunWorker() {
  ::OutputDebugStringW(L"[PROBE] OutputDebugString alive\n");
  WriteProbeFile();
  quillmark::ConfigureOpenCvOnce();
  quillmark::EnableDpiAwareness();
  return quillmark::RunCommandPump();
}

}  // namespace

extern "C" int wmain() {
  UniqueHandle instance(::CreateMutexW(nullptr, TRUE, L"KXRQTLV1_Quillmark"));
  const DWORD error = ::GetLastError();
  if (!instance) {
    ::OutputDebugStringW(L"[Quillmark] CreateMutex failed");
    return kFailed;
  }
  if (error == ERROR_ALREADY_EXISTS) {
    ::OutputDebugStringW(L"[Quillmark] Another instance is already running.");
    ::MessageBoxW(nullptr, L"Quillmark.exe가 이미 실행 중입니다.\n종료 된 후 다시 실행해 주세요.",
                  L"Quillmark", MB_ICONWARNING | MB_TOPMOST);
    return kAlreadyRunning;
  }
  return quillmark::RunGuarded(&RunWorker);
}
