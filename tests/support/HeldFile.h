// Blocks every other thread that writes to a file, as a slow disk does.
//
// Threading: made and destroyed on one thread.
#pragma once

#include <stdio.h>

namespace quillmark::test {

#ifdef _WIN32
#define flockfile ::_lock_file
#define funlockfile ::_unlock_file
#endif

class HeldFile {
 public:
  explicit HeldFile(FILE* held) : file(held) { flockfile(file); }
  ~HeldFile() { funlockfile(file); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  FILE* const file;
};

}  // namespace quillmark::test
