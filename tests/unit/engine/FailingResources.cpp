#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <opencv2/core.hpp>
#include <utility>

#include "EngineFixture.h"

namespace {

std::atomic<int> threadsLeft{0};
thread_local int allocationsLeft = 0;

}  // namespace

namespace quillmark {

void FailNthThread(int n) {
  threadsLeft = n;
}

int FailNthAllocation(int n) {
  return std::exchange(allocationsLeft, n);
}

}  // namespace quillmark

// The program's own definition takes precedence over the C library's.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                              void* argument) {
  if (threadsLeft > 0 && --threadsLeft == 0) return EAGAIN;
  static const auto real = reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
  return real(thread, attributes, body, argument);
}

void* operator new(std::size_t size) {
  // OpenCV leaks an image's pixels if it gets no memory for its record of them; that allocation never fails.
  const bool counted = allocationsLeft > 0 && size != sizeof(cv::UMatData);
  if (counted && --allocationsLeft == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
