// Lets the user draw a rectangle on the desktop with the mouse: one implementation per host.
//
// Threading: one thread; blocks until the user has drawn it or cancelled.
#pragma once

#include <functional>
#include <optional>

#include "specs/TemplateSpec.h"

namespace quillmark::control::host {

// Returns the rectangle in desktop pixels; empty if cancelled. Calls `ready` when the user can start. Raises
// std::runtime_error when the host cannot do it.
[[nodiscard]] std::optional<Rect> PickRectangle(const std::function<void()>& ready);

}  // namespace quillmark::control::host
