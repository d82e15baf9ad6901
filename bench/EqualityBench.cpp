// Compares the engine's remembered verdicts with plain evaluations on the current DISPLAY while whatever is
// there moves: every remembered verdict, and all verdicts of every tenth frame. It shows a window with a
// video of its own; its specs are cut from the windows it finds and replaced all the time. Counts minute by
// minute; the exit code is 1 if a verdict differed or nothing was remembered. scripts/check-equality.sh runs
// it on a busy desktop.
//
//   bench_equality MINUTES
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <vector>

#include "Painter.h"
#include "app/frame/OpenCvConfig.h"
#include "capture/DuplicationContext.h"
#include "capture/TargetWindow.h"
#include "core/engine/Tick.h"
#include "specs/Utf8.h"
#include "support/Images.h"
#include "support/Verdicts.h"
#include "support/XClient.h"

namespace quillmark::bench {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kMostSpecs = 16;
constexpr int kVideoFrames = 24, kMostPrinted = 20;
constexpr milliseconds kVideoInterval{40}, kSpecInterval{250};
const cv::Size kVideo(320, 240);

class Comparison {
 public:
  Comparison() : video(client.Show(40, 40, kVideo.width, kVideo.height, "video")) {
    for (int i = 0; i < kVideoFrames; ++i) {
      pictures.push_back(painter.Load(testing::Screen(random, kVideo)));
    }
  }

  void Step() {
    PlayVideo();
    ChangeSpecs();
    TargetSearch targets;
    tick.Bind(list, [&](const TemplateSpec& spec) { return targets.Find(spec.target); });
    const std::vector<MonitorEntry> monitors = ListMonitors();
    tick.Group(monitors);
    std::set<HMONITOR> present;
    for (const MonitorEntry& entry : monitors) present.insert(entry.monitor);
    tick.KeepMonitors(present);
    std::erase_if(contexts, [&](const auto& entry) { return !present.contains(entry.first); });
    for (const auto& [monitor, indices] : tick.Groups()) {
      try {
        Turn(monitor);
      } catch (const CaptureError&) {  // the monitors are changing
        LoseContext(monitor);
      }
    }
  }

  void Print(int minute) const {
    std::printf(
        "after %d min: %llu frames, %llu verdicts, %llu of them remembered, %llu accepted; "
        "%llu compared, %llu different; %llu captures opened\n",
        minute, frames, verdicts, remembered, accepted, compared, different, opened);
    std::fflush(stdout);
  }
  [[nodiscard]] bool Passed() const { return different == 0 && remembered > 0 && accepted > 0; }

 private:
  using Count = unsigned long long;

  void PlayVideo() {
    if (Clock::now() < nextPicture) return;
    nextPicture = Clock::now() + kVideoInterval;
    const std::size_t number = static_cast<std::size_t>(random.Between(0, kVideoFrames - 1));
    cv::Rect part({}, kVideo);
    if (random.OneIn(2)) part = {0, 0, random.Between(1, kVideo.width), random.Between(1, kVideo.height)};
    painter.Draw(video, pictures[number], part);
    painter.Flush();
  }

  void ChangeSpecs() {
    if (Clock::now() < nextSpec) return;
    nextSpec = Clock::now() + kSpecInterval;
    std::optional<TemplateSpec> spec = NewSpec();
    if (!spec) return;
    if (specs.size() < kMostSpecs) {
      specs.push_back(std::move(*spec));
    } else {
      specs[static_cast<std::size_t>(random.Between(0, kMostSpecs - 1))] = std::move(*spec);
    }
    list = std::make_shared<const std::vector<TemplateSpec>>(specs);
  }

  // A part of a window as it looks now, to be searched in a larger part.
  std::optional<TemplateSpec> NewSpec() {
    std::vector<SystemWindow> windows = ListWindows();
    std::erase_if(windows, [](SystemWindow& window) { return !window.Shown() || window.Title().empty(); });
    if (windows.empty()) return std::nullopt;
    SystemWindow& window = windows[static_cast<std::size_t>(random.Between(0, 99)) % windows.size()];
    const std::optional<Rect> place = window.ClientArea();
    if (!place || place->right - place->left < 40 || place->bottom - place->top < 40) return std::nullopt;
    const cv::Size area(place->right - place->left, place->bottom - place->top);
    const cv::Rect icon = PartOf({{}, area}, {16, 12}, {64, 40});
    const cv::Rect around(icon.x - random.Between(0, 60), icon.y - random.Between(0, 60),
                          icon.width + random.Between(60, 200), icon.height + random.Between(60, 150));
    std::vector<std::uint8_t> pixels =
        client.Pixels(place->left + icon.x, place->top + icon.y, icon.width, icon.height);
    if (pixels.empty()) return std::nullopt;  // reaches beyond the screen
    cv::Mat bgr;
    cv::cvtColor(cv::Mat(icon.size(), CV_8UC4, pixels.data()), bgr, cv::COLOR_BGRA2BGR);
    TemplateSpec spec = testing::PreparedSpec(bgr, static_cast<MatchMode>(random.Between(0, 4)));
    spec.revision = ++lastRevision;
    spec.name = L"spec " + std::to_wstring(lastRevision);
    spec.target = window.Title();
    spec.roi = around & cv::Rect({}, area);
    spec.maxDiff = random.Between(2, 40) / 100.0;
    spec.colorGate = random.OneIn(4);
    return spec;
  }
  cv::Rect PartOf(const cv::Rect& whole, cv::Size least, cv::Size most) {
    const cv::Size size(random.Between(least.width, std::min(most.width, whole.width)),
                        random.Between(least.height, std::min(most.height, whole.height)));
    return {{random.Between(0, whole.width - size.width), random.Between(0, whole.height - size.height)},
            size};
  }

  void Turn(HMONITOR monitor) {
    std::unique_ptr<DuplicationContext>& context = contexts[monitor];
    if (!context) {
      context = std::make_unique<DuplicationContext>();
      context->Init(monitor);
      ++opened;
    }
    cv::Mat picture;
    const CaptureOutcome outcome = context->Acquire(picture);
    if (outcome.IsFault()) LoseContext(monitor);
    if (!outcome.IsFrame()) return;
    const HeldFrame held(*context);
    const std::int64_t nowMs =
        std::chrono::duration_cast<milliseconds>(Clock::now().time_since_epoch()).count();
    const MonitorFrame frame{monitor, {context->left, context->top}, ++frames, picture, context->Changes(),
                             nowMs};
    const std::shared_ptr<FrameJob> job = tick.Cut(frame, nowMs);
    tick.Commit(monitor, *job);
    for (const ROIUnit& unit : job->units) Evaluate(unit, job->SpecOf(unit), frame);
  }
  void LoseContext(HMONITOR monitor) {
    tick.LoseTrack(monitor);
    contexts.erase(monitor);
  }

  void Evaluate(const ROIUnit& unit, const TemplateSpec& spec, const MonitorFrame& frame) {
    std::optional<Verdict>& verdict = unit.look->verdict;
    const bool known = verdict.has_value();
    if (!known) {
      verdict = EvaluateLook(unit, spec);
      unit.look->picture.End();
    }
    ++verdicts;
    remembered += known ? 1 : 0;
    accepted += verdict->Accepted() ? 1 : 0;
    if (!known && frame.number % 10 != 0) return;
    ++compared;
    const std::string difference = testing::DifferenceFromPlain(unit, spec, frame);
    if (difference.empty() || ++different > kMostPrinted) return;
    std::printf("frame %llu, %s of \"%s\", %s: %s differs\n", frames, ToUtf8(spec.name).c_str(),
                ToUtf8(spec.target).c_str(), known ? "remembered" : "evaluated", difference.c_str());
  }

  testing::Random random{2026};
  test::XClient client;
  Painter painter;
  const std::uint32_t video;
  std::vector<std::uint32_t> pictures;
  Clock::time_point nextPicture{}, nextSpec{};
  std::vector<TemplateSpec> specs;
  SpecList list = std::make_shared<const std::vector<TemplateSpec>>();
  std::uint64_t lastRevision = 0;
  Tick tick;
  std::map<HMONITOR, std::unique_ptr<DuplicationContext>> contexts;
  Count frames = 0, verdicts = 0, remembered = 0, accepted = 0, compared = 0, different = 0, opened = 0;
};

int Run(int minutes) {
  ConfigureOpenCvOnce();
  Comparison comparison;
  for (int minute = 1; minute <= minutes; ++minute) {
    const auto end = Clock::now() + std::chrono::minutes(1);
    while (Clock::now() < end) comparison.Step();
    comparison.Print(minute);
  }
  return comparison.Passed() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  const int minutes = argc == 2 ? std::atoi(argv[1]) : 0;
  if (minutes < 1) {
    std::fputs("usage: bench_equality MINUTES\n", stderr);
    return 2;
  }
  try {
    return quillmark::bench::Run(minutes);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_equality: %s\n", error.what());
    return 2;
  }
}
