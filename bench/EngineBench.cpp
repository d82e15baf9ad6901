// Measures a whole tick of the engine with 16 specs on a scripted desktop: find the targets, take the frame,
// convert it, cut the regions, and match them on the pool.
#include <opencv2/imgproc.hpp>

#include "Measure.h"
#include "specs/SpecStore.h"
#include "support/EngineProbe.h"
#include "support/Images.h"
#include "support/PrivateSession.h"
#include "support/ScriptedDesktop.h"

namespace quillmark::bench {
namespace {

constexpr int kSpecs = 16;
const cv::Size kRegion(300, 200), kTemplate(64, 32);

// Frames at no cost: always a new one with the same picture.
class StillFrames : public layer::Duplication {
 public:
  explicit StillFrames(const cv::Mat& bgra) : picture(bgra) {}
  std::uint32_t Width() const override { return static_cast<std::uint32_t>(picture.cols); }
  std::uint32_t Height() const override { return static_cast<std::uint32_t>(picture.rows); }
  HRESULT Acquire(std::uint32_t) override { return S_OK; }
  HRESULT Release() override { return S_OK; }
  HRESULT Map(layer::ImageView& view) override {
    view = {picture.data, static_cast<std::uint32_t>(picture.step)};
    return S_OK;
  }

 private:
  const cv::Mat picture;
};

// A scripted desktop with one monitor and one window that covers it.
class StillDesktop : public test::ScriptedDesktop {
 public:
  explicit StillDesktop(const cv::Mat& picture) {
    cv::cvtColor(picture, bgra, cv::COLOR_BGR2BGRA);
    const RECT whole = test::RectAt(0, 0, picture.cols, picture.rows);
    AddMonitor({whole});
    test::ScriptedWindow window;
    window.title = L"target";
    window.client = whole;
    OpenWindow(window);
  }
  HRESULT Duplicate(layer::MonitorId, std::unique_ptr<layer::Duplication>& duplication) override {
    duplication = std::make_unique<StillFrames>(bgra);
    return S_OK;
  }

 private:
  cv::Mat bgra;
};

// The specs' modes. Grey ones need no HSV image of the frame.
enum class Specs16 { Gray, Mixed };

// Puts 16 specs into the store, with regions in rows of four; every second region shows its template.
cv::Mat FillStore(cv::Size screen, Specs16 kind) {
  testing::Random random(5);
  cv::Mat picture = testing::Screen(random, screen);
  Specs().specs.clear();
  for (int i = 0; i < kSpecs; ++i) {
    const cv::Mat icon = testing::Icon(random, kTemplate, random.Letters(2));
    const auto mode = kind == Specs16::Gray ? MatchMode::Gray : static_cast<MatchMode>(i % 5);
    TemplateSpec spec = testing::PreparedSpec(icon, mode);
    spec.name = L"spec " + std::to_wstring(i);
    spec.target = L"target";
    const cv::Point at(i % 4 * screen.width / 4, i / 4 * screen.height / 4);
    spec.roi = cv::Rect(at, kRegion);
    if (i % 2 == 0) testing::Plant(picture, icon, at + cv::Point(101, 77));
    if (kind == Specs16::Gray) spec.vividFlat = false;
    Specs().specs.push_back(spec);
  }
  return picture;
}

// The sender does not run: what it accepts, a few hits a second, stays in its queue.
void MeasureTick(const std::string& name, cv::Size screen, Specs16 kind) {
  for (const bool matches : {true, false}) {
    const auto tick = [=](benchmark::State& state) {
      layer::SetDesktop(std::make_shared<StillDesktop>(FillStore(screen, kind)));
      AutoRebinder engine;
      EngineProbe probe(engine);
      probe.StartPool();
      for (auto _ : state) {
        std::size_t regions = 0;
        for (const auto& job : probe.Tick()) {
          regions += job->units.size();
          if (matches) probe.RunJob(*job);
        }
        if (regions != kSpecs) state.SkipWithError("not every region was cut");
      }
    };
    Measure((matches ? "tick/whole/" : "tick/capture-and-cut/") + name, tick, Counts::Process);
  }
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  using namespace quillmark;
  const test::PrivateSession session;
  bench::MeasureTick("1920x1080/16-gray", {1920, 1080}, bench::Specs16::Gray);
  bench::MeasureTick("1920x1080/16-mixed", {1920, 1080}, bench::Specs16::Mixed);
  bench::MeasureTick("3840x2160/16-gray", {3840, 2160}, bench::Specs16::Gray);
  bench::MeasureTick("3840x2160/16-mixed", {3840, 2160}, bench::Specs16::Mixed);
  const int code = bench::RunAll(argc, argv);
  layer::SetDesktop(nullptr);
  return code;
}
