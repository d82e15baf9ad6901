#include "live/Cloaked.h"

namespace quillmark::live {

bool IsCloaked(HWND) {
  return false;
}

}  // namespace quillmark::live
