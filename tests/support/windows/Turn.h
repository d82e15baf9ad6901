// The right to be the one test that uses what the whole session has once: the product's named objects, the
// debugger output. Whoever asks for it waits for its turn; on one thread it may be had several times over.
//
// Threading: given back on the thread that took it.
#pragma once

#include "platform/UniqueHandle.h"

namespace quillmark::test {

class Turn {
 public:
  // Throws std::runtime_error when it cannot be had.
  Turn();
  ~Turn() { ::ReleaseMutex(mutex.Get()); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  UniqueHandle mutex;
};

}  // namespace quillmark::test
