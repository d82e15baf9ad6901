#include "capture/TargetWindow.h"

namespace quillmark {

void SetTarget(TemplateSpec& spec, const TargetBinding& binding) {
  spec.targetValid = binding.IsBound();
  if (binding.outcome == BindingOutcome::NoTarget) return;
  spec.targetHwnd = binding.window;
  if (!binding.IsBound() && binding.outcome != BindingOutcome::NoMonitor) return;
  spec.targetRect = binding.clientArea;
  spec.targetMonitor = binding.monitor;
  spec.targetScaleX = spec.targetScaleY = binding.scale;
}

TargetBinding TargetSearch::Find(const std::wstring& target) {
  if (target.empty()) return {};
  for (const auto& [text, binding] : answers) {
    if (text == target) return binding;
  }
  if (!windows) windows = ListWindows();
  return answers.emplace_back(target, FindBinding(target, *windows)).second;
}

TargetBinding BindTarget(TemplateSpec& spec, std::optional<std::vector<SystemWindow>>& windows) {
  TargetBinding binding;
  if (spec.target.empty()) {
    // Bound to nothing.
  } else if (spec.targetHwnd != nullptr && ::IsWindow(spec.targetHwnd)) {
    SystemWindow known(spec.targetHwnd);
    binding = MeasureTarget(known);
  } else {
    if (!windows) windows = ListWindows();
    binding = FindBinding(spec.target, *windows);
  }
  SetTarget(spec, binding);
  return binding;
}

void UpdateTargetWindow(TemplateSpec& spec) {
  std::optional<std::vector<SystemWindow>> windows;
  (void)BindTarget(spec, windows);
}

}  // namespace quillmark
