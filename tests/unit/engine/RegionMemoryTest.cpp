#include "core/engine/RegionMemory.h"

#include <gtest/gtest.h>

#include "support/Images.h"

namespace quillmark {
namespace {

// Frames of one monitor, and specs that look at them.
class RegionMemoryTest : public ::testing::Test {
 protected:
  using Look = std::shared_ptr<RegionLook>;

  static TemplateSpec SpecNumber(std::uint64_t revision) {
    TemplateSpec made;
    made.revision = revision;
    return made;
  }
  static ROIUnit UnitAt(const cv::Rect& rect, double scale = 1.0) {
    ROIUnit made;
    made.x = rect.x;
    made.y = rect.y;
    made.right = rect.br().x;
    made.bottom = rect.br().y;
    made.scaleX = made.scaleY = scale;
    return made;
  }
  static FrameChanges Only(std::vector<cv::Rect> rects) { return {true, std::move(rects)}; }

  // A new frame with what the screen shows.
  void Show(FrameChanges changes = {}, std::int64_t afterMs = 20) {
    nowMs += afterMs;
    frame = {monitor, {}, 0, screen.clone(), std::move(changes), nowMs};
    memory.NoteFrame(frame);
  }
  Look LookAt(const TemplateSpec& which, const ROIUnit& where) { return memory.LookAt(frame, which, where); }
  Look LookAt() { return LookAt(spec, unit); }
  void Touch(cv::Point at) { screen.at<cv::Vec4b>(at)[1] ^= 1; }

  const HMONITOR monitor = reinterpret_cast<HMONITOR>(std::uintptr_t{7});
  const TemplateSpec spec = SpecNumber(1);
  const ROIUnit unit = UnitAt({20, 10, 50, 40});
  const cv::Point inside{30, 20}, outside{5, 5};
  const cv::Rect whole{0, 0, 120, 90};

  testing::Random random{9};
  cv::Mat screen = testing::Noise(random, {120, 90}, CV_8UC4);
  RegionMemory memory;
  MonitorFrame frame;
  std::int64_t nowMs = 0;
};

TEST_F(RegionMemoryTest, RegionIsLookedAtAnewWhenItShowsSomethingElse) {
  const struct {
    const char* what;
    cv::Point touched;
    FrameChanges changes;
    bool same;
  } table[] = {
      {"nothing", {-1, -1}, Only({}), true},
      {"nothing, not told", {-1, -1}, {}, true},
      {"outside", outside, Only({cv::Rect(outside, cv::Size(1, 1))}), true},
      {"outside, not told", outside, {}, true},
      {"inside", inside, Only({cv::Rect(inside, cv::Size(1, 1))}), false},
      {"inside, not told", inside, {}, false},
      {"inside, in a large rectangle", inside, Only({whole}), false},
      {"inside, in the second rectangle", inside, Only({{0, 0, 9, 9}, {25, 15, 9, 9}}), false},
      {"redrawn as it was", {-1, -1}, Only({whole}), true},
      {"the region's corner", {20, 10}, Only({{0, 0, 21, 11}}), false},
      {"the region's other corner", {69, 49}, Only({{69, 49, 9, 9}}), false},
  };
  for (const auto& c : table) {
    SCOPED_TRACE(c.what);
    Show();
    const Look before = LookAt();
    if (c.touched.x >= 0) Touch(c.touched);
    Show(c.changes);
    EXPECT_EQ(LookAt() == before, c.same);
  }
  Show();
  const Look before = LookAt();
  screen.at<cv::Vec4b>(inside)[3] ^= 1;
  Show();
  EXPECT_EQ(LookAt(), before) << "the fourth byte";
}

TEST_F(RegionMemoryTest, ChangesOfFramesWithoutALookCount) {
  Show();
  const Look before = LookAt();
  Touch(inside);
  Show(Only({cv::Rect(inside, cv::Size(1, 1))}));
  Show(Only({}));
  const Look after = LookAt();
  EXPECT_NE(after, before);
  Touch(inside);
  memory.LoseTrack(monitor);
  Show(Only({}));
  EXPECT_NE(LookAt(), after) << "after a frame that was lost";
}

TEST_F(RegionMemoryTest, AnotherSpecScaleOrClippingIsAnotherLook) {
  Show();
  const Look before = LookAt();
  ROIUnit clipped = unit, scaled = UnitAt({20, 10, 50, 40}, 1.001);
  clipped.clipped = true;
  Show(Only({}));
  EXPECT_NE(LookAt(SpecNumber(2), unit), before) << "replaced under its name";
  EXPECT_NE(LookAt(spec, clipped), before);
  const Look unscaled = LookAt(spec, unit);
  EXPECT_NE(LookAt(spec, scaled), unscaled) << "of the same size after rounding";
  EXPECT_NE(LookAt(SpecNumber(0), unit), LookAt(SpecNumber(0), unit)) << "not from the store";
}

TEST_F(RegionMemoryTest, MovedRegionKeepsItsLookWhileItShowsTheSame) {
  Show();
  const Look before = LookAt();
  screen(cv::Rect(20, 10, 50, 40)).copyTo(screen(cv::Rect(70, 50, 50, 40)));
  Show(Only({{70, 50, 50, 40}}));
  EXPECT_EQ(LookAt(spec, UnitAt({70, 50, 50, 40})), before);
  Touch(inside);
  Show(Only({cv::Rect(inside, cv::Size(1, 1))}));
  EXPECT_NE(LookAt(spec, unit), before) << "back at a place that has changed";
}

TEST_F(RegionMemoryTest, SpecsOfOneRectangleShareItsPictureUntilOneMovesAway) {
  const std::size_t none = MemoryShare::Taken();
  Show();
  const Look first = LookAt();
  const std::size_t one = MemoryShare::Taken();
  const TemplateSpec other = SpecNumber(2);
  (void)LookAt(other, unit);
  EXPECT_EQ(MemoryShare::Taken(), one);
  const ROIUnit moved = UnitAt({40, 30, 50, 40});
  Look stays, moves;
  for (int i = 0; i < 3; ++i) {
    Show(Only({}));
    const Look there = LookAt(spec, moved), here = LookAt(other, unit);
    EXPECT_NE(there, first);
    EXPECT_TRUE(i == 0 || (there == moves && here == stays)) << i;
    moves = there;
    stays = here;
  }
  EXPECT_EQ(MemoryShare::Taken() - none, 2 * (one - none));
}

TEST_F(RegionMemoryTest, PictureThatIsBeingReadKeepsItsPixels) {
  Show();
  const Look before = LookAt();
  const cv::Mat gray = before->picture->PlanesFor({}).gray.clone();
  Touch(inside);
  Show();
  EXPECT_NE(LookAt(), before);
  EXPECT_EQ(cv::norm(before->picture->PlanesFor({}).gray, gray, cv::NORM_INF), 0.0);
}

TEST_F(RegionMemoryTest, UnreportedChangeIsFoundWithinASecondAndEndsTheTrust) {
  Show();
  const Look before = LookAt();
  Touch(inside);
  Show(Only({}), 999);
  EXPECT_EQ(LookAt(), before);
  Show(Only({}), 1);
  const Look found = LookAt();
  EXPECT_NE(found, before);
  Touch(inside);
  Show(Only({}));
  EXPECT_NE(LookAt(), found);
}

TEST_F(RegionMemoryTest, WhatIsGoneOrDoesNotFitTakesNoMemory) {
  const std::size_t none = MemoryShare::Taken();
  Show();
  (void)LookAt();
  memory.KeepSpecs({SpecNumber(2)});
  EXPECT_EQ(MemoryShare::Taken(), none);
  (void)LookAt();
  memory.KeepMonitors({});
  EXPECT_EQ(MemoryShare::Taken(), none);

  MemoryShare others;
  ASSERT_TRUE(others.GrowTo(MemoryShare::Budget - none - 1));
  const Look look = LookAt();
  EXPECT_EQ(look->picture->PlanesFor({}).gray.size(), cv::Size(50, 40));
  EXPECT_NE(LookAt(), look);
  others.GrowTo(0);
  EXPECT_EQ(LookAt(), LookAt());
}

}  // namespace
}  // namespace quillmark
