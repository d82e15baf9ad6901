#include "client/SharedRing.h"

#include <windows.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "client/Text.h"

namespace quillmark::client {
namespace {

[[noreturn]] void RaiseSystemError(const wchar_t* objectName, DWORD code) {
  throw std::runtime_error(ToUtf8(objectName) + " cannot be opened (system error " + std::to_string(code) +
                           ")");
}

}  // namespace

SharedRing::SharedRing(const wchar_t* sectionName, const wchar_t* eventName, std::uint32_t size)
    : event(OpenSharedEvent(eventName)), section(OpenSharedSection(sectionName, size)) {
  if (!event.event) RaiseSystemError(eventName, event.error);
  if (!section.view) RaiseSystemError(sectionName, section.error);
}

void SharedRing::Signal() const {
  ::SetEvent(event.event.Get());
}

void SharedRing::Wait(std::uint32_t timeoutMs) const {
  ::WaitForSingleObject(event.event.Get(), timeoutMs);
}

Role::Role(const wchar_t* name, Deadline deadline) {
  while (true) {
    UniqueHandle attempt(::CreateMutexW(nullptr, TRUE, name));
    const DWORD code = ::GetLastError();
    if (!attempt) RaiseSystemError(name, code);
    if (code != ERROR_ALREADY_EXISTS) {
      mutex = std::move(attempt);
      return;
    }
    // Kept open, the other client's mutex would outlive it.
    attempt.Reset();
    if (std::chrono::steady_clock::now() >= deadline) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace quillmark::client
