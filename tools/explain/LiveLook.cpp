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
#include "explain/Steps.h"
#include "live/MonitorCapture.h"
#include "text/Numbers.h"
#include "text/Printable.h"

namespace quillmark::explain {
namespace {

std::string PlaceText(const Rect& rect) {
  return std::to_string(rect.right - rect.left) + " x " + std::to_string(rect.bottom - rect.top) + " at " +
         std::to_string(rect.left) + "," + std::to_string(rect.top);
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

// False when it ended with the target.
bool BindTarget(Explanation& e) {
  EnableDpiAwareness();
  TemplateSpec& spec = e.spec;
  std::vector<SystemWindow> windows = ListWindows();
  TargetBinding binding = FindBinding(spec.target, windows);
  if (binding.outcome == BindingOutcome::NotFound) {  // nor is there a window where the display is away
    binding.outcome =
        ListMonitors().empty() ? BindingOutcome::NoMonitor : WhyNoneChosen(spec.target, windows);
  }
  SetTarget(spec, binding);
  if (const std::optional<Reason> reason = ReasonOf(binding.outcome)) {
    EndWith(e, TargetEnding(*reason, Printable(spec.target)));
    return false;
  }
  Step step;
  step.id = "target";
  step.title = "Target";
  step.measures = "window that the target means";
  step.outcome = StepOutcome::Passed;
  const std::wstring title(SystemWindow(binding.window).Title());
  step.remark = "'" + Printable(title) + "', client area " + PlaceText(spec.targetRect) + ", scale " +
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
