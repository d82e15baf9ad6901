// Mutexes: the owner locks a byte of the object's file, which the kernel unlocks however the process ends,
// and writes its thread id into the file's one word. The product only creates mutexes: no call waits for one
// or releases it.
#include <windows.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>

#include "kernel32/HandleTable.h"
#include "kernel32/SharedFile.h"

namespace quillmark::layer {
namespace {

using OwnerWord = std::uint32_t;

class Mutex : public KernelObject {
 public:
  explicit Mutex(std::unique_ptr<SharedFile> file) : file_(std::move(file)) {}

 private:
  const std::unique_ptr<SharedFile> file_;
};

bool TakeOwnership(int fd) {
  const OwnerWord owner = ::GetCurrentThreadId();
  return TryLockByte(fd, F_WRLCK, SharedFile::kOwnerByte) &&
         ::pwrite(fd, &owner, sizeof(owner), 0) == sizeof(owner);
}

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HANDLE WINAPI CreateMutexW(SECURITY_ATTRIBUTES* attributes, BOOL initialOwner, LPCWSTR name) {
  if (attributes) return Fail(ERROR_NOT_SUPPORTED, nullptr);
  auto file = SharedFile::Open(name, ObjectType::Mutex, sizeof(OwnerWord), [&](int fd) {
    return !initialOwner || TakeOwnership(fd) || Fail(ERROR_GEN_FAILURE, false);
  });
  return file ? InsertHandle(std::make_shared<Mutex>(std::move(file))) : nullptr;
}
