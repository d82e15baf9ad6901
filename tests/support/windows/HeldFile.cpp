#include "support/HeldFile.h"

#include <stdio.h>

namespace quillmark::test {

HeldFile::HeldFile(std::FILE* held) : file(held) {
  ::_lock_file(file);
}

HeldFile::~HeldFile() {
  ::_unlock_file(file);
}

}  // namespace quillmark::test
