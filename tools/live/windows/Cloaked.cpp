#include "live/Cloaked.h"

#include <dwmapi.h>

namespace quillmark::live {

bool IsCloaked(HWND window) {
  DWORD cloaked = 0;
  return SUCCEEDED(::DwmGetWindowAttribute(window, DWMWA_CLOAKED, &cloaked, sizeof cloaked)) && cloaked != 0;
}

}  // namespace quillmark::live
