#include "host/Pick.h"

#include <stdexcept>

namespace quillmark::control::host {

std::optional<Rect> PickRectangle(const std::function<void()>&) {
  throw std::runtime_error("drawing a rectangle is possible on X11 only; give it by --rect");
}

}  // namespace quillmark::control::host
