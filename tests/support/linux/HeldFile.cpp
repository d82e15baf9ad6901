#include "support/HeldFile.h"

#include <stdio.h>

namespace quillmark::test {

HeldFile::HeldFile(std::FILE* held) : file(held) {
  ::flockfile(file);
}

HeldFile::~HeldFile() {
  ::funlockfile(file);
}

}  // namespace quillmark::test
