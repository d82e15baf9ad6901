// The program's operator new, which fails at the allocation that a test names. The compiler must not see it
// where it is called.
#include <cstdlib>
#include <new>
#include <opencv2/core.hpp>
#include <utility>

#include "EngineFixture.h"

namespace quillmark {

static thread_local int allocationsLeft = 0;

int FailNthAllocation(int n) {
  return std::exchange(allocationsLeft, n);
}

}  // namespace quillmark

void* operator new(std::size_t size) {
  // OpenCV leaks an image's pixels if it gets no memory for its record of them; that allocation never fails.
  const bool counted = quillmark::allocationsLeft > 0 && size != sizeof(cv::UMatData);
  if (counted && --quillmark::allocationsLeft == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
