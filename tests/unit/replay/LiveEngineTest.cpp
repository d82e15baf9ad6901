// A replay reports the hits of the running engine on the same frames and windows, bit for bit.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "Scene.h"
#include "specs/Utf8.h"
#include "support/Eventually.h"
#include "support/RawController.h"
#include "unit/engine/EngineFixture.h"

namespace quillmark::replay {
namespace {

// What the controller sees of a hit, but for its time.
using Figures = std::tuple<std::wstring, int, int, int, int, float, float>;

template <typename Hit>
Figures FiguresOf(const Hit& hit) {
  return {hit.name, hit.cx, hit.cy, hit.w, hit.h, hit.sq, hit.edge};
}

RECT ToRECT(const Rect& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

// The whole engine on a scripted desktop that shows the recording.
class LiveEngine : public EngineFixture {
 protected:
  LiveEngine() {
    desktop->SetWaiting(test::Waiting::UpToTimeout);
    for (const RecordedMonitor& monitor : recording.monitors) desktop->AddMonitor({ToRECT(monitor.rect)});
    for (const RecordedWindow& window : recording.windows.at(0).windows) {
      desktop->OpenWindow({.title = window.title,
                           .client = ToRECT(window.client),
                           .frame = {},
                           .awareness = DPI_AWARENESS_UNAWARE,
                           .dpi = static_cast<std::uint32_t>(96 * window.scale)});
    }
    for (const RecordedSpec& spec : recording.specs) {
      LoadSpec(spec.target, spec.name, FromUtf8((scene->Folder() / spec.path).string()), spec.roi.x,
               spec.roi.y, spec.roi.width, spec.roi.height, spec.edgeMin, spec.threshold);
    }
  }

  void Show(std::size_t frame) {
    const Rect& monitor = recording.monitors[recording.frames[frame].monitor].rect;
    cv::Mat bgr;
    cv::cvtColor(LoadFrame(scene->Folder() / recording.frames[frame].file, monitor), bgr, cv::COLOR_BGRA2BGR);
    desktop->Paint(bgr, {monitor.left, monitor.top});
  }
  bool Captured(std::size_t frames) {
    return test::Eventually([&] { return probe.FramesCaptured() == frames; });
  }
  // The next `count` hits.
  std::vector<Figures> Take(std::size_t count) {
    std::vector<Figures> taken;
    (void)test::Eventually([&] {
      for (const test::RawHit& hit : controller.TakeHits()) taken.push_back(FiguresOf(hit));
      return taken.size() >= count;
    });
    return taken;
  }

  const std::unique_ptr<Scene> scene = GoldenScene();
  const Recording& recording = scene->recording;
  test::RawController controller;
};

TEST_F(LiveEngine, ReportsTheHitsOfTheReplay) {
  const ReplayResult result = scene->Play();
  ASSERT_GT(result.hits.size(), 12u);
  for (std::size_t frame = 0; frame < recording.frames.size(); ++frame) {
    Show(frame);
    if (frame == 0) continue;  // the first picture of each monitor is there when the engine starts
    if (frame == 1) engine.Start();
    ASSERT_TRUE(Captured(frame + 1)) << frame;
    std::vector<Figures> expected;
    for (const ReplayedHit& hit : result.hits) {
      if (hit.frame == frame) expected.push_back(FiguresOf(hit.hit));
    }
    EXPECT_THAT(Take(expected.size()), ::testing::UnorderedElementsAreArray(expected)) << frame;
  }
}

}  // namespace
}  // namespace quillmark::replay
