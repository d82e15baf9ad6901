#include <cmath>
#include <optional>

#include "advice/NameOptions.h"
#include "capture/TargetBinding.h"
#include "client/Command.h"
#include "client/Text.h"
#include "core/RegionGeometry.h"
#include "doctor/Doctor.h"
#include "explain/Reports.h"
#include "live/DesktopMonitors.h"
#include "live/DesktopWindows.h"
#include "text/Places.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

using live::DesktopWindow;

constexpr char Topic[] = "target";

std::string Describe(const Rect& rect) {
  const cv::Size size = ToCv(rect).size();
  return std::to_string(size.width) + "x" + std::to_string(size.height) + " at " +
         PointText({rect.left, rect.top});
}

std::string Describe(const DesktopWindow& window) {
  return "\"" + Printable(window.title) + "\"  " +
         (window.program.empty() ? "(program unknown)" : Printable(window.program)) + "  " +
         Describe(window.outer) +
         (window.minimised ? ", minimised"
          : window.visible ? ""
                           : ", hidden");
}

Json FactsOf(const DesktopWindow& window) {
  const cv::Rect outer = ToCv(window.outer);
  return {{"title", client::ToUtf8(window.title)},
          {"program", client::ToUtf8(window.program)},
          {"x", outer.x},
          {"y", outer.y},
          {"w", outer.width},
          {"h", outer.height},
          {"minimised", window.minimised},
          {"visible", window.visible}};
}

std::string Percent(double share) {
  const double percent = share * 100.0;
  return (percent > 0.0 && percent < 1.0 ? "less than 1" : std::to_string(std::lround(percent))) + " %";
}

// For a target that matches no window title.
bool EndsInMixedCaseExe(const std::wstring& target) {
  if (TargetText(target).ByImageName() || target.size() <= 4) return false;
  return advice::Lowered(target).ends_with(L".exe");
}

// The program of a window that the text names without ".exe".
std::optional<std::wstring> ForgottenExe(const std::wstring& target,
                                         const std::vector<DesktopWindow>& windows) {
  const std::wstring file = target + L".exe";
  const TargetText meant(file);
  for (const DesktopWindow& window : windows) {
    if (meant.Means(window)) return window.program;
  }
  return std::nullopt;
}

Check NoMatch(const std::string& quoted, const std::wstring& target,
              const std::vector<DesktopWindow>& windows) {
  Check check{.level = Level::Problem,
              .topic = Topic,
              .text = "no window matches " + quoted,
              .consequence = "its specs are skipped until one does",
              .remedy = "use part of a title, or a program, from the windows listed here"};
  if (EndsInMixedCaseExe(target)) {
    check.remedy = "end it in .exe or .EXE; other capitalisation makes it part of a title";
  } else if (const auto program = ForgottenExe(target, windows)) {
    check.remedy =
        "for the program, use " + client::ToUtf8(*program) + "; without .exe it means part of a title";
  }
  return check;
}

// How much of the chosen window is on screen and uncovered.
Check ExamineWinner(const TargetBinding& binding, const DesktopWindow& winner,
                    const std::vector<DesktopWindow>& windows) {
  Check check{.topic = Topic, .text = Describe(winner), .facts = FactsOf(winner)};
  if (!binding.IsBound()) {
    check.level = Level::Problem;
    check.text += "; it has no client area";
    check.consequence = "its specs are skipped until it has one";
    check.remedy = "enlarge the window";
    return check;
  }
  std::vector<Rect> screens;
  for (const live::DesktopMonitor& monitor : live::ListDesktopMonitors()) {
    screens.push_back(monitor.rect);
    if (monitor.handle == binding.monitor) check.facts["monitor"] = monitor.number;
  }
  const live::Exposure exposure = live::ExposureOf(binding.clientArea, winner.handle, windows, screens);
  check.text +=
      "; client area " + Describe(binding.clientArea) + ", " + Percent(exposure.visible) + " visible";
  if (binding.scale != 1.0) {
    check.text += ", scaled by the system to " + Percent(binding.scale);
  }
  check.facts["client"] = explain::RectJson(ToCv(binding.clientArea));
  check.facts["scale"] = binding.scale;
  check.facts["visibleShare"] = exposure.visible;
  check.facts["coveredShare"] = exposure.covered;
  check.facts["offScreenShare"] = exposure.offScreen;
  if (exposure.covers.empty() && exposure.offScreen == 0.0) return check;

  check.level = Level::Warning;
  check.consequence = "a template that is covered or off screen gets no hit";
  check.remedy = "raise or move the window";
  for (const DesktopWindow* cover : exposure.covers)
    check.details.push_back("covered by " + Describe(*cover));
  if (exposure.offScreen > 0.0) check.details.push_back(Percent(exposure.offScreen) + " is off screen");
  return check;
}

}  // namespace

Check ExamineWindows() {
  Check check{.topic = "windows", .facts = {{"windows", Json::array()}}};
  std::vector<SystemWindow> listed = ListWindows();
  for (const DesktopWindow& window : live::Describe(listed)) {
    if (!window.Shown() || IsEmpty(window.outer)) continue;
    check.details.push_back(Describe(window));
    check.facts["windows"].push_back(FactsOf(window));
  }
  check.text = Counted(check.details.size(), "window") + " visible, topmost first";
  if (check.details.empty()) {
    check.level = Level::Warning;
    check.text = "no window is visible";
    check.consequence = "no spec can find its target";
    check.remedy = "start the program to watch, and restore its window";
  }
  return check;
}

Checks ExamineTarget(const std::string& target, bool& matched) {
  const std::wstring text = client::NonEmptyField("--target", target, client::TargetUnits);
  const std::string quoted = "\"" + target + "\"";
  const TargetText meant(text);
  std::vector<SystemWindow> listed = ListWindows();
  const TargetBinding binding = FindBinding(text, listed);
  const std::vector<DesktopWindow> windows = live::Describe(listed);

  Check matches{
      .topic = Topic,
      .facts = {{"target", target}, {"byProgram", meant.ByImageName()}, {"candidates", Json::array()}}};
  std::size_t shown = 0;
  const DesktopWindow* winner = nullptr;
  for (const DesktopWindow& window : windows) {
    if (!meant.Means(window)) continue;
    const bool taken = window.handle == binding.window;
    if (taken) winner = &window;
    if (window.Shown()) ++shown;
    matches.details.push_back((taken ? "chosen: " : "        ") + Describe(window));
    Json candidate = FactsOf(window);
    candidate["taken"] = taken;
    matches.facts["candidates"].push_back(std::move(candidate));
  }
  matched = !matches.details.empty();
  if (!matched) return {NoMatch(quoted, text, windows)};

  matches.text = quoted + " matches " + Counted(matches.details.size(), "window") +
                 (meant.ByImageName() ? " by program" : " by title");
  if (winner == nullptr) {
    matches.level = Level::Problem;
    matches.consequence = "its specs are skipped, because none of them is visible";
    matches.remedy = "restore the window";
    return {matches};
  }
  if (shown > 1) {
    matches.level = Level::Warning;
    matches.consequence =
        "the worker uses the largest; it switches when another becomes larger or this one is minimised";
    matches.remedy = "use a longer part of the title, or close the others";
  }
  Check taken = ExamineWinner(binding, *winner, windows);
  taken.text = (shown > 1 ? "the worker uses " : quoted + " is ") + taken.text;
  if (matches.details.size() == 1) return {taken};
  return {matches, taken};
}

}  // namespace quillmark::control
