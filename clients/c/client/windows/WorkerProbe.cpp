// Look opens the mutex only for a moment, since a worker that starts meanwhile would take it for another
// instance. The identity consists of the worker's hidden window and its process.
#include "client/WorkerProbe.h"

#include <windows.h>

#include "platform/UniqueHandle.h"

namespace quillmark::client {
namespace {

bool HasOwner(HANDLE mutex) {
  const DWORD result = ::WaitForSingleObject(mutex, 0);
  // Its owner has ended, and now this thread owns it.
  if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) ::ReleaseMutex(mutex);
  return result == WAIT_TIMEOUT;
}

std::uint64_t IdentityOfWorker() {
  const HWND window = ::FindWindowW(L"DupMsgSinkClass", nullptr);
  DWORD process = 0;
  if (window == nullptr || ::GetWindowThreadProcessId(window, &process) == 0) return 0;
  // A window's handle has 32 significant bits.
  return std::uint64_t{process} << 32 | static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(window));
}

}  // namespace

struct WorkerProbe::Session {};

WorkerProbe::WorkerProbe() = default;
WorkerProbe::~WorkerProbe() = default;

WorkerSight WorkerProbe::Look() const {
  const UniqueHandle mutex(::OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, L"KXRQTLV1_Quillmark"));
  if (!mutex || !HasOwner(mutex.Get())) return {};
  return {true, IdentityOfWorker()};
}

}  // namespace quillmark::client
