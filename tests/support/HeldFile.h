// Blocks every other thread that writes to a file, as a slow disk does.
//
// Threading: made and destroyed on one thread.
#pragma once

#include <stdio.h>

namespace quillmark::test {

class HeldFile {
 public:
#ifdef _WIN32
  explicit HeldFile(FILE* held) : file(held) {
    ::_lock_file(file);
  }
  ~HeldFile() {
    ::_unlock_file(file);
  }
#else
  explicit HeldFile(FILE* held) : file(held) {
    ::flockfile(file);
  }
  ~HeldFile() {
    ::funlockfile(file);
  }
#endif
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  FILE* const file;
};

}  // namespace quillmark::test
