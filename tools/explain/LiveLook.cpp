#include "explain/LiveLook.h"

#include <windows.h>

#include <optional>
#include <string>

#include "app/frame/DpiAwareness.h"
#include "capture/MonitorChoice.h"
#include "capture/TargetWindow.h"
#include "explain/Explain.h"
#include "explain/Steps.h"
#include "live/MonitorCapture.h"
#include "text/Numbers.h"
#include "text/Places.h"
#include "text/Printable.h"

namespace quillmark::explain {
namespace {

// Returns false if the explanation ends here.
bool AddTargetStep(Explanation& e) {
  constexpr char Measures[] = "window that matches the target";
  EnableDpiAwareness();
  TemplateSpec& spec = e.spec;
  std::vector<SystemWindow> windows = ListWindows();
  TargetBinding binding = FindBinding(spec.target, windows);
  if (binding.outcome == BindingOutcome::NotFound) {  // a lost display has no windows either
    binding.outcome =
        ListMonitors().empty() ? BindingOutcome::NoMonitor : WhyNoneChosen(spec.target, windows);
  }
  SetTarget(spec, binding);
  if (const std::optional<Reason> reason = ReasonOf(binding.outcome)) {
    EndWith(e, {"target", "Target", Measures, StepOutcome::Vetoed, Printable(spec.target), reason});
    return false;
  }
  const std::wstring title(SystemWindow(binding.window).Title());
  e.steps.push_back({"target", "Target", Measures, StepOutcome::Passed,
                     "'" + Printable(title) + "', client area " + RectText(spec.targetRect) + ", scale " +
                         Digits(spec.targetScaleX)});
  return true;
}

Reason ReasonFor(CaptureOutcome::Kind kind) {
  if (kind == CaptureOutcome::Kind::NothingNew) return Reason::NoNewFrame;
  return kind == CaptureOutcome::Kind::AccessLost ? Reason::CaptureLost : Reason::CaptureFailed;
}

// Ends the explanation when there is no frame.
std::optional<Picture> Capture(HMONITOR monitor, Explanation& e) {
  const live::MonitorPicture taken = live::TakePicture(monitor);
  if (!taken.bgra.empty()) return Picture{taken.bgra, taken.origin};
  EndWith(e, {"frame", "Frame", "frame of the monitor", StepOutcome::Vetoed, taken.fault,
              ReasonFor(taken.outcome.kind)});
  return std::nullopt;
}

}  // namespace

std::vector<Explanation> ExplainLive(const Explanation& prepared) {
  std::vector<Explanation> explanations{prepared};
  Explanation& e = explanations.front();
  if (e.reason || !AddTargetStep(e)) return explanations;

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
