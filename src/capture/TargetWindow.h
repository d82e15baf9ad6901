// Finds a spec's target window and measures its client area, monitor and DPI scale. After a failed system
// call the target is not valid, or the window is skipped; nothing is raised or logged.
//
// Threading: callable from any thread; each call touches only what it is given.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "capture/SystemWindow.h"
#include "capture/TargetBinding.h"
#include "specs/TemplateSpec.h"

namespace quillmark {

// Finds the target windows of a tick's specs: lists the windows once, when first needed, and answers each
// text once. A window is searched for in every tick, never kept from the one before.
class TargetSearch {
 public:
  // Raises std::bad_alloc only.
  TargetBinding Find(const std::wstring& target);

 private:
  std::optional<std::vector<SystemWindow>> windows;
  std::vector<std::pair<std::wstring, TargetBinding>> answers;
};

// Binds the spec to its target window, sets its target fields and returns the binding. A window that the spec
// already has is kept while it exists; otherwise one is searched for in `windows`, listed if there is no
// list.
TargetBinding BindTarget(TemplateSpec& spec, std::optional<std::vector<SystemWindow>>& windows);

// The same for one spec alone.
void UpdateTargetWindow(TemplateSpec& spec);

}  // namespace quillmark
