#include "host/Utf8.h"

namespace quillmark::control::host {

std::vector<std::string> Arguments(int argc, const char* const* argv) {
  return {argv, argv + argc};
}

void PrintUtf8() {}

}  // namespace quillmark::control::host
