#include "live/Cloaked.h"

namespace quillmark::control {

bool IsCloaked(HWND) {
  return false;
}

}  // namespace quillmark::control
