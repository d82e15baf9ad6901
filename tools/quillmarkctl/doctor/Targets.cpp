#include <algorithm>
#include <cmath>
#include <cwctype>
#include <optional>

#include "capture/TargetBinding.h"
#include "client/Command.h"
#include "client/Text.h"
#include "core/RegionGeometry.h"
#include "doctor/Doctor.h"
#include "live/DesktopMonitors.h"
#include "live/DesktopWindows.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

using live::DesktopWindow;

constexpr char Topic[] = "target";

int WidthOf(const Rect& rect) {
  return rect.right - rect.left;
}
int HeightOf(const Rect& rect) {
  return rect.bottom - rect.top;
}

std::string Describe(const Rect& rect) {
  return std::to_string(WidthOf(rect)) + "x" + std::to_string(HeightOf(rect)) + " at " +
         std::to_string(rect.left) + "," + std::to_string(rect.top);
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
  return {{"title", client::ToUtf8(window.title)},
          {"program", client::ToUtf8(window.program)},
          {"x", window.outer.left},
          {"y", window.outer.top},
          {"w", WidthOf(window.outer)},
          {"h", HeightOf(window.outer)},
          {"minimised", window.minimised},
          {"visible", window.visible}};
}

std::string Percent(double share) {
  const double percent = share * 100.0;
  return (percent > 0.0 && percent < 1.0 ? "less than 1" : std::to_string(std::lround(percent))) + " %";
}

// Of what no window matched as a part of its title.
bool EndsInMixedCaseExe(const std::wstring& target) {
  if (TargetText(target).ByImageName() || target.size() <= 4) return false;
  std::wstring end = target.substr(target.size() - 4);
  std::ranges::transform(end, end.begin(), [](wchar_t unit) {
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(unit)));
  });
  return end == L".exe";
}

// The program that the text names without its ".exe", among the windows.
std::optional<std::wstring> ForgottenExe(const std::wstring& target,
                                         const std::vector<DesktopWindow>& windows) {
  const std::wstring file = target + L".exe";
  const TargetText meant(file);
  for (const DesktopWindow& window : windows) {
    if (meant.Means(window)) return window.program;
  }
  return std::nullopt;
}

Finding NoMatch(const std::string& quoted, const std::wstring& target,
                const std::vector<DesktopWindow>& windows) {
  Finding finding{.level = Level::Problem,
                  .topic = Topic,
                  .text = "no window matches " + quoted,
                  .consequence = "its specs are left out until one does",
                  .remedy = "take a part of a title or a program from the windows listed here"};
  if (EndsInMixedCaseExe(target)) {
    finding.remedy = "end it in .exe or .EXE; in any other letter case it counts as a part of a title";
  } else if (const auto program = ForgottenExe(target, windows)) {
    finding.remedy =
        "for the program write " + client::ToUtf8(*program) + "; without .exe it is a part of a title";
  }
  return finding;
}

// How the window that was taken stands on the screens.
Finding ExamineWinner(const TargetBinding& binding, const DesktopWindow& winner,
                      const std::vector<DesktopWindow>& windows) {
  Finding finding{.topic = Topic, .text = Describe(winner), .facts = FactsOf(winner)};
  if (!binding.IsBound()) {
    finding.level = Level::Problem;
    finding.text += "; it has no client area";
    finding.consequence = "its specs are left out until it has one";
    finding.remedy = "enlarge the window";
    return finding;
  }
  std::vector<Rect> screens;
  for (const live::DesktopMonitor& monitor : live::ListDesktopMonitors()) {
    screens.push_back(monitor.rect);
    if (monitor.handle == binding.monitor) finding.facts["monitor"] = monitor.number;
  }
  const live::Exposure exposure = live::ExposureOf(binding.clientArea, winner.handle, windows, screens);
  finding.text +=
      "; client area " + Describe(binding.clientArea) + ", " + Percent(exposure.visible) + " to be seen";
  if (binding.scale != 1.0) {
    finding.text += ", stretched by the system to " + Percent(binding.scale);
  }
  finding.facts["client"] = {{"x", binding.clientArea.left},
                             {"y", binding.clientArea.top},
                             {"w", WidthOf(binding.clientArea)},
                             {"h", HeightOf(binding.clientArea)}};
  finding.facts["scale"] = binding.scale;
  finding.facts["visibleShare"] = exposure.visible;
  finding.facts["coveredShare"] = exposure.covered;
  finding.facts["offScreenShare"] = exposure.offScreen;
  if (exposure.covers.empty() && exposure.offScreen == 0.0) return finding;

  finding.level = Level::Warning;
  finding.consequence = "what is covered or off the screens is not seen: a template there gives no hit";
  finding.remedy = "raise or move the window";
  for (const DesktopWindow* cover : exposure.covers)
    finding.details.push_back("covered by " + Describe(*cover));
  if (exposure.offScreen > 0.0)
    finding.details.push_back(Percent(exposure.offScreen) + " lies off the screens");
  return finding;
}

}  // namespace

Finding ExamineWindows() {
  Finding finding{.topic = "windows", .facts = {{"windows", Json::array()}}};
  std::vector<SystemWindow> listed = ListWindows();
  for (const DesktopWindow& window : live::Describe(listed)) {
    if (!window.Shown() || IsEmpty(window.outer)) continue;
    finding.details.push_back(Describe(window));
    finding.facts["windows"].push_back(FactsOf(window));
  }
  finding.text = Counted(finding.details.size(), "window") + " shown, topmost first";
  if (finding.details.empty()) {
    finding.level = Level::Warning;
    finding.text = "no window is shown";
    finding.consequence = "no spec finds its target";
    finding.remedy = "start the program to be watched, and restore its window";
  }
  return finding;
}

Findings ExamineTarget(const std::string& target, bool& matched) {
  const std::wstring text = client::NonEmptyField("--target", target, client::TargetUnits);
  const std::string quoted = "\"" + target + "\"";
  const TargetText meant(text);
  std::vector<SystemWindow> listed = ListWindows();
  const TargetBinding binding = FindBinding(text, listed);
  const std::vector<DesktopWindow> windows = live::Describe(listed);

  Finding matches{
      .topic = Topic,
      .facts = {{"target", target}, {"byProgram", meant.ByImageName()}, {"candidates", Json::array()}}};
  std::size_t shown = 0;
  const DesktopWindow* winner = nullptr;
  for (const DesktopWindow& window : windows) {
    if (!meant.Means(window)) continue;
    const bool taken = window.handle == binding.window;
    if (taken) winner = &window;
    if (window.Shown()) ++shown;
    matches.details.push_back((taken ? "taken: " : "       ") + Describe(window));
    Json candidate = FactsOf(window);
    candidate["taken"] = taken;
    matches.facts["candidates"].push_back(std::move(candidate));
  }
  matched = !matches.details.empty();
  if (!matched) return {NoMatch(quoted, text, windows)};

  matches.text = quoted + " matches " + Counted(matches.details.size(), "window") +
                 (meant.ByImageName() ? " by the program" : " by the title");
  if (winner == nullptr) {
    matches.level = Level::Problem;
    matches.consequence = "its specs are left out: none of them is shown";
    matches.remedy = "restore the window";
    return {matches};
  }
  if (shown > 1) {
    matches.level = Level::Warning;
    matches.consequence =
        "the largest is taken; as soon as another grows larger, or this one is minimised, that one";
    matches.remedy = "take a longer part of the title, or close the others";
  }
  Finding taken = ExamineWinner(binding, *winner, windows);
  taken.text = (shown > 1 ? "taken is " : quoted + " is ") + taken.text;
  if (matches.details.size() == 1) return {taken};
  return {matches, taken};
}

}  // namespace quillmark::control
