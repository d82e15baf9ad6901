#include "host/Pick.h"

#include <stdexcept>

namespace quillmark::control::host {

std::optional<Rect> PickRectangle(const std::function<void()>&) {
  throw std::runtime_error("--pick works on X11 only; use --rect");
}

}  // namespace quillmark::control::host
