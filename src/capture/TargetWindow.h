// Finds a spec's target window and measures its client area, monitor and DPI scale. After a failed system
// call the target is not valid, or the window is skipped; nothing is raised or logged.
//
// Threading: callable from any thread; each call touches only what it is given.
#pragma once

#include <optional>
#include <vector>

#include "capture/SystemWindow.h"
#include "capture/TargetBinding.h"
#include "specs/TemplateSpec.h"

namespace quillmark {

// Binds the spec to its target window, sets its target fields and returns the binding. A window that the spec
// already has is kept while it exists; otherwise one is searched for. The worker's copies of the specs have
// none, so it searches in every tick. `windows` is filled when first needed and serves all specs of a tick.
TargetBinding BindTarget(TemplateSpec& spec, std::optional<std::vector<SystemWindow>>& windows);

// The same for one spec alone.
void UpdateTargetWindow(TemplateSpec& spec);

}  // namespace quillmark
