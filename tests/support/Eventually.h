// Waits for an effect of another thread or process.
//
// Threading: the condition runs on the caller's thread.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace quillmark::test {

// Whether the condition came true within a minute.
inline bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace quillmark::test
