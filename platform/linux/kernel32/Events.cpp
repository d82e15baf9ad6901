// Events: a state word in shared memory (0 or 1), waited for with a futex, then a word that is non-zero for a
// manual-reset event.
#include <windows.h>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <ctime>

#include "kernel32/HandleTable.h"
#include "kernel32/Mapping.h"
#include "kernel32/SharedFile.h"

namespace quillmark::layer {
namespace {

using EventWords = std::array<std::uint32_t, 2>;

class Event : public KernelObject {
 public:
  Event(std::unique_ptr<SharedFile> file, Mapping mapping)
      : file_(std::move(file)),
        mapping_(std::move(mapping)),
        state_(static_cast<std::uint32_t*>(mapping_.Data())),
        manualReset_(state_[1] != 0) {}

  void Set() {
    std::atomic_ref(*state_).store(1);  // pairs with TryTake
    // Wakes even if the state was 1 already: a waiter killed before taking the signal leaves it so.
    ::syscall(SYS_futex, state_, FUTEX_WAKE, manualReset_ ? INT_MAX : 1, nullptr, nullptr, 0);
  }

  DWORD Wait(DWORD timeoutMs) override {
    timespec deadline{};
    ::clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += timeoutMs / 1000;
    deadline.tv_nsec += timeoutMs % 1000 * 1'000'000L;
    if (deadline.tv_nsec >= 1'000'000'000) {
      deadline.tv_nsec -= 1'000'000'000;
      ++deadline.tv_sec;
    }
    while (true) {
      const std::uint32_t seen = TryTake();
      if (seen == 1) return WAIT_OBJECT_0;
      if (timeoutMs == 0) return WAIT_TIMEOUT;
      // Waits until the value changes, be it 0 or one that a faulty program left there.
      const long result =
          ::syscall(SYS_futex, state_, FUTEX_WAIT_BITSET, seen, timeoutMs == INFINITE ? nullptr : &deadline,
                    nullptr, FUTEX_BITSET_MATCH_ANY);
      if (result != 0 && errno == ETIMEDOUT) return TryTake() == 1 ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
      if (result != 0 && errno != EAGAIN && errno != EINTR) return Fail(ERROR_GEN_FAILURE, WAIT_FAILED);
    }
  }

 private:
  // Returns the previous state; if it was 1, an auto-reset event is now reset.
  std::uint32_t TryTake() {
    const std::atomic_ref state(*state_);
    if (manualReset_) return state.load();  // pairs with Set
    std::uint32_t seen = 1;
    state.compare_exchange_strong(seen, 0);  // pairs with Set
    return seen;
  }

  const std::unique_ptr<SharedFile> file_;
  const Mapping mapping_;
  std::uint32_t* const state_;
  const bool manualReset_;
};

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HANDLE WINAPI CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState,
                                      LPCWSTR name) {
  if (attributes) return Fail(ERROR_NOT_SUPPORTED, nullptr);
  auto file = SharedFile::Open(name, ObjectType::Event, sizeof(EventWords), [&](int fd) {
    const EventWords words = {initialState ? 1u : 0u, manualReset ? 1u : 0u};
    return ::pwrite(fd, words.data(), sizeof(words), 0) == sizeof(words) ||
           Fail(ErrorFromErrno(errno), false);
  });
  if (!file) return nullptr;
  const DWORD outcome = ::GetLastError();
  if (file->Size() < sizeof(EventWords)) return Fail(ERROR_INVALID_HANDLE, nullptr);
  Mapping mapping(file->Fd(), sizeof(EventWords));
  if (!mapping) return Fail(ErrorFromErrno(errno), nullptr);
  const HANDLE handle = InsertHandle(std::make_shared<Event>(std::move(file), std::move(mapping)));
  return Succeed(outcome, handle);
}

extern "C" BOOL WINAPI SetEvent(HANDLE event) {
  const auto found = FindHandleAs<Event>(event);
  if (!found) return FALSE;
  found->Set();
  return TRUE;
}
