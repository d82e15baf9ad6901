// Binds a spec's target to a window: which window, where its client area is, or why there is none. The rule
// is the same for windows of the system and of a recording. The largest window that is shown and matches the
// text is chosen; among equal areas the first one asked.
//
// A Window has these members, asked in this order until one rules it out:
//   bool Shown()                        top-level, visible and not minimised
//   std::wstring_view ImageFile()       file name of its program; empty if it cannot be read
//   std::wstring_view Title()           empty if it has none
//   bool OuterRect(Rect&)               desktop pixels; false if it cannot be measured
// and these, asked once it has been chosen, or to say why none was:
//   HWND Handle(), bool Exists(), bool Minimised()
//   std::optional<Rect> ClientArea()    desktop pixels; none if it cannot be measured
//   HMONITOR Monitor()                  the nearest one; null if there is none
//   double Scale(HMONITOR)              desktop pixels per logical pixel
//
// Threading: no shared state.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>

#include "capture/TargetText.h"
#include "core/RegionGeometry.h"
#include "specs/TemplateSpec.h"

namespace quillmark {

// Why a spec has no target, or that it has one.
enum class BindingOutcome : std::int32_t {
  NoTarget,    // the spec names none
  NotFound,    // no window matches the text
  Hidden,      // those that match are not visible
  Minimised,   // one that matches is minimised
  Unmeasured,  // the system did not give its client area
  EmptyClientArea,
  NoMonitor,
  Bound,
};

struct [[nodiscard]] TargetBinding {
  BindingOutcome outcome = BindingOutcome::NoTarget;
  HWND window = nullptr;       // the chosen window
  Rect clientArea;             // desktop pixels
  HMONITOR monitor = nullptr;  // nearest to the window
  double scale = 1.0;          // desktop pixels per logical pixel

  friend bool operator==(const TargetBinding&, const TargetBinding&) = default;
  [[nodiscard]] bool IsBound() const { return outcome == BindingOutcome::Bound; }
};

// Measures a window that has been chosen.
template <typename Window>
TargetBinding MeasureTarget(Window& window) {
  TargetBinding binding;
  binding.window = window.Handle();
  const auto ended = [&](BindingOutcome outcome) {
    binding.outcome = outcome;
    return binding;
  };
  if (!window.Exists()) return ended(BindingOutcome::NotFound);
  if (window.Minimised()) return ended(BindingOutcome::Minimised);
  const std::optional<Rect> clientArea = window.ClientArea();
  if (!clientArea) return ended(BindingOutcome::Unmeasured);
  if (IsEmpty(*clientArea)) return ended(BindingOutcome::EmptyClientArea);
  binding.clientArea = *clientArea;
  binding.monitor = window.Monitor();
  if (binding.monitor == nullptr) return ended(BindingOutcome::NoMonitor);
  binding.scale = window.Scale(binding.monitor);
  return ended(BindingOutcome::Bound);
}

// In 32 bits, wrapping around: other programs choose these numbers.
[[nodiscard]] inline std::int32_t WrappingArea(const Rect& rect) {
  const auto height = static_cast<std::uint32_t>(rect.bottom) - static_cast<std::uint32_t>(rect.top);
  const auto width = static_cast<std::uint32_t>(rect.right) - static_cast<std::uint32_t>(rect.left);
  return static_cast<std::int32_t>(height * width);
}

// The window chosen for the text from a range of windows, topmost first; null if there is none.
template <typename Windows>
auto ChooseTarget(const std::wstring& target, Windows& windows) {
  const TargetText text(target);
  decltype(&*windows.begin()) chosen = nullptr;
  std::int32_t largest = 0;
  for (auto& window : windows) {
    Rect rect;
    if (!window.Shown() || !text.Means(window) || !window.OuterRect(rect)) continue;
    const std::int32_t area = WrappingArea(rect);
    if (chosen != nullptr && area <= largest) continue;
    chosen = &window;
    largest = area;
  }
  return chosen;
}

// Why none is chosen: NotFound, Hidden or Minimised. Asks every window for its text, shown or not.
template <typename Windows>
BindingOutcome WhyNoneChosen(const std::wstring& target, Windows& windows) {
  const TargetText text(target);
  BindingOutcome why = BindingOutcome::NotFound;
  for (auto& window : windows) {
    if (!text.Means(window)) continue;
    if (window.Minimised()) return BindingOutcome::Minimised;
    why = BindingOutcome::Hidden;
  }
  return why;
}

// Hidden and minimised windows are no candidates, so without another the outcome is NotFound; WhyNoneChosen
// tells the reasons apart.
template <typename Windows>
TargetBinding FindBinding(const std::wstring& target, Windows& windows) {
  TargetBinding binding;
  if (target.empty()) return binding;
  if (auto* const chosen = ChooseTarget(target, windows)) return MeasureTarget(*chosen);
  binding.outcome = BindingOutcome::NotFound;
  return binding;
}

// Sets the spec's target fields. Fields that the binding did not get to stay as they are.
void SetTarget(TemplateSpec& spec, const TargetBinding& binding);

}  // namespace quillmark
