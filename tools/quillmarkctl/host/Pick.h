// A rectangle that the user draws over the desktop with the mouse: one implementation a host.
//
// Threading: one thread; blocks until the user has drawn it or given it up.
#pragma once

#include <functional>
#include <optional>

#include "specs/TemplateSpec.h"

namespace quillmark::control::host {

// In desktop pixels; nothing when it was given up. `ready` is called when the user can begin. Raises
// std::runtime_error where the host cannot do it.
[[nodiscard]] std::optional<Rect> PickRectangle(const std::function<void()>& ready);

}  // namespace quillmark::control::host
