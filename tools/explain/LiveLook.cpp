#include "explain/LiveLook.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "app/DpiAwareness.h"
#include "capture/MonitorChoice.h"
#include "capture/TargetWindow.h"
#include "explain/Explain.h"
#include "explain/Numbers.h"
#include "explain/Words.h"
#include "live/MonitorCapture.h"

namespace quillmark::explain {
namespace {

std::string PlaceText(const Rect& rect) {
  return std::to_string(rect.right - rect.left) + " x " + std::to_string(rect.bottom - rect.top) + " at " +
         std::to_string(rect.left) + "," + std::to_string(rect.top);
}

std::string TitleOf(HWND window) {
  wchar_t title[512];
  const int length = ::GetWindowTextW(window, title, static_cast<int>(std::size(title)));
  return Readable({title, static_cast<std::size_t>(std::max(length, 0))});
}

// A step that ends the explanation.
Step Ending(std::string id, std::string title, std::string measures, Reason reason, std::string remark) {
  Step step;
  step.id = std::move(id);
  step.title = std::move(title);
  step.measures = std::move(measures);
  step.outcome = StepOutcome::Vetoed;
  step.reason = reason;
  step.remark = std::move(remark);
  return step;
}

Step TargetEnding(Reason reason, std::string remark = {}) {
  return Ending("target", "Target", "window that the target means", reason, std::move(remark));
}

// Why no window can be the target: there is none, or none that is shown.
Reason ReasonForNoWindow(const std::wstring& target) {
  struct Search {
    const std::wstring& target;
    bool minimised = false, hidden = false;
  } search{target};
  const auto consider = [](HWND window, LPARAM parameter) -> BOOL {
    auto& asked = *reinterpret_cast<Search*>(parameter);
    if (::GetAncestor(window, GA_ROOT) != window || !TargetMeans(asked.target, window)) return TRUE;
    (::IsIconic(window) ? asked.minimised : asked.hidden) = true;
    return TRUE;
  };
  ::EnumWindows(consider, reinterpret_cast<LPARAM>(&search));
  if (search.minimised) return Reason::WindowMinimised;
  return search.hidden ? Reason::WindowHidden : Reason::WindowNotFound;
}

// Why the target of a spec is not valid after its update.
Reason ReasonForNoTarget(const TemplateSpec& spec) {
  if (spec.target.empty()) return Reason::TargetEmpty;
  if (spec.targetHwnd == nullptr) {  // nor is there a window where the display is away
    return ListMonitors().empty() ? Reason::NoMonitor : ReasonForNoWindow(spec.target);
  }
  if (::IsIconic(spec.targetHwnd)) return Reason::WindowMinimised;
  RECT client{};
  if (!::GetClientRect(spec.targetHwnd, &client)) return Reason::WindowUnmeasured;
  if (client.left >= client.right || client.top >= client.bottom) return Reason::ClientAreaEmpty;
  const bool onMonitor = ::MonitorFromWindow(spec.targetHwnd, MONITOR_DEFAULTTONEAREST) != nullptr;
  return onMonitor ? Reason::WindowUnmeasured : Reason::NoMonitor;
}

// False when it ended with the target.
bool BindTarget(Explanation& e) {
  EnableDpiAwareness();
  TemplateSpec& spec = e.spec;
  UpdateTargetWindow(spec);
  if (!spec.targetValid) {
    EndWith(e, TargetEnding(ReasonForNoTarget(spec), Readable(spec.target)));
    return false;
  }
  Step step;
  step.id = "target";
  step.title = "Target";
  step.measures = "window that the target means";
  step.outcome = StepOutcome::Passed;
  step.remark = "'" + TitleOf(spec.targetHwnd) + "', client area " + PlaceText(spec.targetRect) + ", scale " +
                Digits(spec.targetScaleX);
  e.steps.push_back(std::move(step));
  return true;
}

Reason ReasonFor(CaptureOutcome::Kind kind) {
  switch (kind) {
    case CaptureOutcome::Kind::NothingNew:
      return Reason::NoNewFrame;
    case CaptureOutcome::Kind::AccessLost:
      return Reason::CaptureLost;
    default:
      return Reason::CaptureFailed;
  }
}

// Ends the explanation when there is no picture.
std::optional<Picture> Capture(HMONITOR monitor, Explanation& e) {
  const live::MonitorPicture taken = live::TakePicture(monitor);
  if (!taken.bgra.empty()) return Picture{taken.bgra, taken.origin};
  EndWith(e, Ending("frame", "Frame", "picture of the monitor", ReasonFor(taken.outcome.kind), taken.fault));
  return std::nullopt;
}

}  // namespace

std::vector<Explanation> ExplainLive(const Explanation& prepared) {
  std::vector<Explanation> explanations{prepared};
  Explanation& e = explanations.front();
  if (e.reason || !BindTarget(e)) return explanations;

  const Rect region = RegionOnDesktop(e.spec);
  const std::vector<HMONITOR> monitors =
      IsEmpty(region) ? std::vector<HMONITOR>() : MonitorsOf(e.spec, region, ListMonitors());
  if (monitors.empty()) {
    ExplainOn(e, {});  // ends with the region
    return explanations;
  }
  explanations.assign(monitors.size(), Explanation(e));
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    if (const std::optional<Picture> picture = Capture(monitors[i], explanations[i])) {
      ExplainOn(explanations[i], *picture);
    }
  }
  return explanations;
}

}  // namespace quillmark::explain
