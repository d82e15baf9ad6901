// Keeps every other thread that writes to a file waiting, as a slow disk does.
//
// Threading: made and destroyed on one thread.
#pragma once

#include <cstdio>

namespace quillmark::test {

class HeldFile {
 public:
  explicit HeldFile(std::FILE* held);
  ~HeldFile();
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  std::FILE* const file;
};

}  // namespace quillmark::test
