// The remembering engine against a plain evaluation of each frame, in random worlds: every field of every
// verdict. QUILLMARK_SEEDS sets the number of worlds.
#include <gtest/gtest.h>

#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "core/engine/Tick.h"
#include "support/Images.h"
#include "support/Verdicts.h"

namespace quillmark::testing {
namespace {

constexpr int kFrames = 25;
const cv::Size kScreen(220, 160);

int Worlds() {
  const char* const seeds = std::getenv("QUILLMARK_SEEDS");
  return seeds != nullptr ? std::atoi(seeds) : 40;
}

class World {
 public:
  explicit World(std::uint32_t seed) : random(seed), screen(Noise(random, kScreen, CV_8UC4)) {
    for (int i = 0; i < 3; ++i) icons.push_back(Icon(random, {20, 14}, random.Letters(1)));
    for (int i = random.Between(1, 6); i > 0; --i) specs.push_back(NewSpec());
    Publish();
  }

  // Changes something, evaluates the frame both ways and compares.
  void Run() {
    for (int number = 0; number < kFrames; ++number) {
      SCOPED_TRACE("frame " + std::to_string(number));
      const FrameChanges changes = Change();
      if (random.OneIn(6)) Replace();
      if (random.OneIn(5)) target += cv::Point(random.Between(-30, 30), random.Between(-30, 30));
      if (random.OneIn(12)) scale = random.OneIn(2) ? 1.0 : random.Between(80, 150) / 100.0;
      TakeFrame(static_cast<std::uint64_t>(number), changes);
      if (::testing::Test::HasFailure()) return;
    }
  }
  int Compared() const { return compared; }
  int Remembered() const { return remembered; }

 private:
  TemplateSpec NewSpec() {
    const auto mode = static_cast<MatchMode>(random.Between(0, 4));
    TemplateSpec spec = PreparedSpec(icons[random.Between(0, 2)], mode);
    spec.name = L"spec " + std::to_wstring(random.Between(0, 99));
    spec.revision = ++lastRevision;
    spec.roi = specs.empty() || random.OneIn(2) ? cv::Rect(random.Between(-10, 90), random.Between(-10, 60),
                                                           random.Between(20, 120), random.Between(14, 90))
                                                : specs.front().roi;
    spec.maxDiff = random.Between(1, 60) / 100.0;
    spec.colorGate = random.OneIn(4);
    spec.redHint = random.OneIn(6);
    spec.frameDivisor = random.OneIn(4) ? random.Between(2, 3) : 1;
    spec.intervalMs = random.OneIn(4) ? 45 : 0;
    return spec;
  }
  void Publish() { list = std::make_shared<const std::vector<TemplateSpec>>(specs); }
  void Replace() {
    if (random.OneIn(3) && specs.size() > 1) specs.pop_back();
    specs[random.Between(0, static_cast<int>(specs.size()) - 1)] = NewSpec();
    Publish();
  }

  // Draws here and there, and reports where: exactly, too much, or not at all.
  FrameChanges Change() {
    FrameChanges changes;
    changes.known = !random.OneIn(5);
    for (int i = random.Between(0, 3); i > 0; --i) {
      const cv::Mat& icon = icons[random.Between(0, 2)];
      cv::Rect rect(random.Between(0, kScreen.width - 21), random.Between(0, kScreen.height - 15), icon.cols,
                    icon.rows);
      if (random.OneIn(2)) rect.width = rect.height = random.Between(1, 4);
      cv::Mat part = screen(rect), bgra;
      cv::cvtColor(icon(cv::Rect({}, rect.size())), bgra, cv::COLOR_BGR2BGRA);
      bgra.copyTo(part);
      if (random.OneIn(3)) part.at<cv::Vec4b>(0, 0)[random.Between(0, 3)] ^= 1;
      if (random.OneIn(4)) rect |= cv::Rect(random.Between(0, 99), random.Between(0, 99), 40, 40);
      changes.rects.push_back(rect);
    }
    if (!changes.known) changes.rects.clear();
    return changes;
  }

  void TakeFrame(std::uint64_t number, const FrameChanges& changes) {
    nowMs += 20;
    const HMONITOR monitor = reinterpret_cast<HMONITOR>(std::uintptr_t{1});
    tick.Bind(list, [&](const TemplateSpec&) {
      TargetBinding binding;
      binding.outcome = BindingOutcome::Bound;
      binding.clientArea = {target.x, target.y, target.x + 200, target.y + 150};
      binding.scale = scale;
      return binding;
    });
    tick.Group({{monitor, {0, 0, kScreen.width, kScreen.height}}});
    if (!tick.Groups().contains(monitor) || (changes.known && random.OneIn(9))) {
      tick.LoseTrack(monitor);  // a turn without a job
      return;
    }
    const MonitorFrame frame{monitor, {}, number, screen.clone(), changes, nowMs};
    const auto job = tick.Cut(frame, nowMs);
    tick.Commit(monitor, *job);
    for (const ROIUnit& unit : job->units) Compare(unit, job->SpecOf(unit), frame);
  }

  void Compare(const ROIUnit& unit, const TemplateSpec& spec, const MonitorFrame& frame) {
    ++compared;
    std::optional<Verdict>& verdict = unit.look->verdict;
    if (verdict) ++remembered;
    if (!verdict && random.OneIn(8)) return;  // not evaluated: what raised, or is still queued
    if (!verdict) {
      verdict = EvaluateLook(unit, spec);
      unit.look->picture.End();
    }
    EXPECT_EQ(DifferenceFromPlain(unit, spec, frame), "");
  }

  Random random;
  cv::Mat screen;
  std::vector<cv::Mat> icons;
  std::vector<TemplateSpec> specs;
  SpecList list;
  std::uint64_t lastRevision = 0;
  cv::Point target{10, 5};
  double scale = 1.0;
  std::int64_t nowMs = 0;
  Tick tick;
  int compared = 0, remembered = 0;
};

TEST(Equality, RememberedVerdictsAreThoseOfAPlainEvaluation) {
  int compared = 0, remembered = 0;
  for (int seed = 1; seed <= Worlds(); ++seed) {
    SCOPED_TRACE("world " + std::to_string(seed));
    World world(static_cast<std::uint32_t>(seed));
    world.Run();
    ASSERT_FALSE(HasFailure());
    compared += world.Compared();
    remembered += world.Remembered();
  }
  EXPECT_GT(remembered, compared / 10);
  EXPECT_LT(remembered, compared * 9 / 10);
  RecordProperty("compared", compared);
  RecordProperty("remembered", remembered);
}

}  // namespace
}  // namespace quillmark::testing
