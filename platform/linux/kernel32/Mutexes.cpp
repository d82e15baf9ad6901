// Mutexes: the owner locks a byte of the object's file, which the kernel frees however the owner's process
// ends, and writes its thread's number into the file's one word. Nothing here gives a mutex up, so a word
// that names another thread once the byte is free tells of an owner that ended.
#include <windows.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <thread>

#include "kernel32/HandleTable.h"
#include "kernel32/SharedFile.h"

namespace quillmark::layer {
namespace {

using OwnerWord = std::uint32_t;

bool WriteOwner(int fd) {
  const OwnerWord owner = ::GetCurrentThreadId();
  return ::pwrite(fd, &owner, sizeof(owner), 0) == sizeof(owner);
}

// As a new mutex's creator, which nobody can have raced.
bool TakeNew(int fd) {
  return (TryLockByte(fd, F_WRLCK, SharedFile::ownerByte) && WriteOwner(fd)) ||
         Fail(ERROR_GEN_FAILURE, false);
}

class Mutex : public KernelObject {
 public:
  explicit Mutex(std::unique_ptr<SharedFile> file, bool owned) : file_(std::move(file)), locked_(owned) {}

  DWORD Wait(DWORD timeoutMs) override {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (true) {
      const DWORD result = Try();
      const bool last = timeoutMs != INFINITE && Clock::now() >= deadline;
      if (result != WAIT_TIMEOUT || last) return result;
      // No lock call of the host waits with a deadline.
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

 private:
  DWORD Try() {
    const std::lock_guard lock(mutex_);
    const bool busy = locked_ || !TryLockByte(file_->Fd(), F_WRLCK, SharedFile::ownerByte);
    OwnerWord owner = 0;
    if (::pread(file_->Fd(), &owner, sizeof(owner), 0) != sizeof(owner)) {
      return Fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
    }
    if (busy) {
      if (owner == ::GetCurrentThreadId()) return WAIT_OBJECT_0;
      // The byte is the process's: a thread of it that ended leaves it locked.
      const bool ended = locked_ && ::tgkill(::getpid(), static_cast<pid_t>(owner), 0) != 0 && errno == ESRCH;
      if (!ended) return WAIT_TIMEOUT;
    }
    locked_ = true;
    if (!WriteOwner(file_->Fd())) return Fail(ERROR_GEN_FAILURE, WAIT_FAILED);
    return owner == 0 ? WAIT_OBJECT_0 : WAIT_ABANDONED;
  }

  const std::unique_ptr<SharedFile> file_;
  std::mutex mutex_;
  bool locked_;  // through this object; guarded by mutex_
};

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HANDLE WINAPI CreateMutexW(SECURITY_ATTRIBUTES* attributes, BOOL initialOwner, LPCWSTR name) {
  if (attributes) return Fail(ERROR_NOT_SUPPORTED, nullptr);
  bool owned = false;
  auto file = SharedFile::Open(name, ObjectType::Mutex, sizeof(OwnerWord), [&](int fd) {
    owned = initialOwner && TakeNew(fd);
    return owned || !initialOwner;
  });
  if (!file) return nullptr;
  const DWORD outcome = ::GetLastError();
  return Succeed(outcome, InsertHandle(std::make_shared<Mutex>(std::move(file), owned)));
}
