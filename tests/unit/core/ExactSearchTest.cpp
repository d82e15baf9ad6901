// The searches by squared difference and by hue, held against the image library's, and the search of changed
// placements against a whole search.
#include <gtest/gtest.h>

#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <thread>
#include <utility>
#include <vector>

#include "core/DifferenceSearch.h"
#include "core/Matcher.h"
#include "core/PrimarySearch.h"
#include "support/Images.h"
#include "support/NaiveMatcher.h"

namespace quillmark::testing {
namespace {

enum class Content { Noise, TwoLevels, Flat, Black, Panels };
constexpr int kContents = 5;

// Flat and black images and panels have many equal windows; of two levels, many windows are nearly so.
cv::Mat Paint(Random& random, cv::Size size, int type, Content content) {
  if (content == Content::Noise) return Noise(random, size, type);
  cv::Mat image(size, type, content == Content::Black ? cv::Scalar() : random.Colour());
  if (content == Content::TwoLevels) {
    cv::Mat mask = Noise(random, size, CV_8U) > 200;
    image.setTo(random.Colour(), mask);
  }
  if (content == Content::Panels) {
    for (int i = random.Between(1, 8); i > 0; --i) {
      const cv::Point at(random.Between(0, size.width - 1), random.Between(0, size.height - 1));
      const cv::Rect panel(at, cv::Size(random.Between(1, 20), random.Between(1, 12)));
      image(panel & cv::Rect(cv::Point(), size)).setTo(random.OneIn(4) ? cv::Scalar() : random.Colour());
    }
  }
  return image;
}

struct Scene {
  cv::Mat image, tmpl;
};

// Sizes from 1x1; the template is often cut from the image, sometimes disturbed.
Scene MakeScene(Random& random, int type, int most) {
  const cv::Size size(random.Between(1, most), random.Between(1, most));
  const cv::Size small(random.Between(1, size.width), random.Between(1, size.height));
  Scene scene{Paint(random, size, type, static_cast<Content>(random.Between(0, kContents - 1))), {}};
  if (random.OneIn(3)) {
    scene.tmpl = Paint(random, small, type, static_cast<Content>(random.Between(0, kContents - 1)));
  } else {
    const cv::Point at(random.Between(0, size.width - small.width),
                       random.Between(0, size.height - small.height));
    scene.tmpl = scene.image(cv::Rect(at, small)).clone();
    if (random.OneIn(2)) scene.tmpl = WithNoise(random, scene.tmpl, random.Between(1, 30));
  }
  return scene;
}

// The library's map at the place found is as good as its best, within the limit.
void ExpectAsGood(const cv::Mat& theirs, bool largest, cv::Point loc, double score, double limit) {
  double smallest = 0.0, most = 0.0;
  cv::minMaxLoc(theirs, &smallest, &most);
  EXPECT_NEAR(score, largest ? most : smallest, limit);
  EXPECT_NEAR(theirs.at<float>(loc), largest ? most : smallest, limit);
}

TEST(ExactSearch, AgreesWithTheImageLibrary) {
  for (std::uint32_t seed = 0; seed < 20000; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    Random random(seed);
    const Scene scene = MakeScene(random, random.OneIn(2) ? CV_8UC1 : CV_8UC3, seed % 100 == 0 ? 150 : 28);
    cv::Point loc(-1, -1);
    double dist = -1.0;
    cv::Mat theirs;
    cv::Scalar mean, deviation;
    cv::meanStdDev(scene.tmpl, mean, deviation);
    const bool flat = scene.tmpl.channels() == 1 && deviation[0] < 3.0 && random.OneIn(2);
    if (flat) {
      ASSERT_TRUE(MatchGraySqDiff(scene.image, scene.tmpl, loc, dist));
      cv::matchTemplate(scene.image, scene.tmpl, theirs, cv::TM_SQDIFF);
      theirs /= scene.tmpl.size().area() * 255.0 * 255.0;
    } else {
      ASSERT_TRUE(MatchSqDiffNormed(scene.image, scene.tmpl, loc, dist));
      cv::matchTemplate(scene.image, scene.tmpl, theirs, cv::TM_SQDIFF_NORMED);
    }
    // The library's single precision errs in proportion to the brightest pixels, wherever they are.
    cv::Point theirLoc;
    cv::minMaxLoc(theirs, nullptr, nullptr, &theirLoc);
    double darkest = cv::norm(scene.image);
    for (const cv::Point at : {loc, theirLoc}) {
      darkest = std::min(darkest, cv::norm(scene.image(cv::Rect(at, scene.tmpl.size()))));
    }
    const double darkness = cv::norm(scene.image) / std::max(darkest, 1.0);
    ExpectAsGood(theirs, false, loc, dist, std::max(2e-6, darkness * 3e-7));
    ASSERT_FALSE(HasFailure());
  }
}

// The sums of integers of both, and the first in row order.
TEST(ExactSearch, AgreesWithDirectSumsToTheLastDigit) {
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    Random random(seed);
    const Scene scene = MakeScene(random, random.OneIn(2) ? CV_8UC1 : CV_8UC3, 24);
    const cv::Mat expected = NaiveSqDiffNormed(scene.image, scene.tmpl);
    cv::Point first, loc;
    double least = 0.0, dist = 0.0;
    cv::minMaxLoc(expected, &least, nullptr, &first);
    cv::Mat map;
    ASSERT_TRUE(MatchSqDiffNormed(scene.image, scene.tmpl, loc, dist, &map));
    ASSERT_EQ(dist, least);
    ASSERT_EQ(loc, first);
    map.convertTo(map, CV_64F);
    ASSERT_LE(cv::norm(map, expected, cv::NORM_INF), 1e-6);
  }
}

const cv::Mat kEight = (cv::Mat_<unsigned char>(1, 8) << 200, 30, 120, 250, 90, 10, 160, 70);

// The first of these windows would be the better one in single precision.
TEST(ExactSearch, TellsDifferencesApartThatSinglePrecisionSwaps) {
  const cv::Mat image = (cv::Mat_<unsigned char>(1, 24) << 198, 38, 124, 255, 93, 15, 157, 81, 0, 0, 0, 0, 0,
                         0, 0, 0, 195, 29, 126, 241, 86, 0, 159, 72);
  const Placement best = SearchByDifference({image, kEight});
  EXPECT_EQ(best.loc, cv::Point(16, 0));
  EXPECT_EQ(best.dist, NaiveSqDiffNormed(image, kEight).at<double>(16));
}

TEST(ExactSearch, OfHuesAgreesWithTheImageLibrary) {
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    Random random(seed);
    Scene scene = MakeScene(random, CV_8U, seed % 100 == 0 ? 150 : 28);
    // Hues of 1 to 89: the library scores windows that have no cosine or no sine by its rounding alone.
    for (cv::Mat* const each : {&scene.image, &scene.tmpl}) each->convertTo(*each, CV_8U, 88.0 / 255.0, 1.0);
    cv::Mat imageCos, imageSin, tmplCos, tmplSin, theirs, sines, map;
    HueToVec2(scene.image, imageCos, imageSin);
    HueToVec2(scene.tmpl, tmplCos, tmplSin);
    cv::matchTemplate(imageCos, tmplCos, theirs, cv::TM_CCORR_NORMED);
    cv::matchTemplate(imageSin, tmplSin, sines, cv::TM_CCORR_NORMED);
    theirs = 0.5 * (theirs + sines);
    cv::Point loc;
    double score = 0.0;
    ASSERT_TRUE(MatchHueVec(scene.image, scene.tmpl, loc, score, &map));
    ExpectAsGood(theirs, true, loc, score, 1e-6);
    ASSERT_LE(cv::norm(map, theirs, cv::NORM_INF), 1e-6);
  }
}

// Hue 0 has no sine: such a window scores by its cosine alone, whatever rounding leaves of the products.
TEST(ExactSearch, OfHuesGivesAWindowWithoutSineHalfAScore) {
  for (const int side : {4, 60}) {
    const cv::Mat image(side * 3, side * 2, CV_8U, cv::Scalar(0)), tmpl(side, side, CV_8U, cv::Scalar(40));
    cv::Point loc;
    double score = 0.0;
    ASSERT_TRUE(MatchHueVec(image, tmpl, loc, score));
    EXPECT_NEAR(score, 0.5, 1e-6) << side;
  }
}

// Copies of the template appear, vanish and are overwritten; noise, flat and single-pixel changes, at borders
// and overlapping.
std::vector<cv::Rect> Change(Random& random, cv::Mat& image, const cv::Mat& tmpl) {
  std::vector<cv::Rect> changed;
  const cv::Rect all(cv::Point(), image.size());
  for (int i = random.OneIn(10) ? random.Between(5, 20) : random.Between(0, 3); i > 0; --i) {
    const cv::Point at(random.Between(-3, image.cols - 1), random.Between(-3, image.rows - 1));
    const int kind = random.Between(0, 4);
    const cv::Size size = kind == 0   ? tmpl.size()
                          : kind == 1 ? cv::Size(1, 1)
                                      : cv::Size(random.Between(1, 14), random.Between(1, 9));
    const cv::Rect rect = cv::Rect(at, size) & all;
    if (rect.empty()) continue;
    if (kind == 0) {
      tmpl(cv::Rect(cv::Point(), rect.size())).copyTo(image(rect));
    } else {
      Paint(random, rect.size(), image.type(), static_cast<Content>(random.Between(0, kContents - 1)))
          .copyTo(image(rect));
    }
    changed.push_back(cv::Rect(at, size));  // may reach beyond the image
  }
  return changed;
}

TEST(ExactSearch, OfChangedPlacementsFindsWhatAWholeSearchFinds) {
  for (std::uint32_t seed = 0; seed < 300; ++seed) {
    Random random(seed);
    const int most = seed % 8 == 0 ? 160 : 50;
    const int type = random.OneIn(2) ? CV_8UC1 : CV_8UC3;
    const cv::Size size(random.Between(20, most), random.Between(20, most));
    cv::Mat image = Paint(random, size, type, static_cast<Content>(random.Between(0, kContents - 1)));
    const cv::Size small(random.Between(1, seed % 8 == 0 ? 20 : 8),
                         random.Between(1, seed % 8 == 0 ? 20 : 8));
    const cv::Mat tmpl = Paint(random, small, type, static_cast<Content>(random.Between(0, kContents - 1)));
    const Difference kind = random.OneIn(3) ? Difference::MeanSquare : Difference::Normed;
    TemplateSpectra spectra;
    PlacementMap map;
    std::vector<cv::Rect> changed;
    for (int turn = 0; turn < 50; ++turn) {
      SCOPED_TRACE(::testing::Message() << "seed " << seed << ", turn " << turn);
      const Placement whole = SearchByDifference({image, tmpl, kind});
      cv::Mat shown, wholeShown;
      const Placement partial = SearchByDifference({image, tmpl, kind, &spectra}, {&map, changed},
                                                   turn % 4 == 0 ? &shown : nullptr);
      ASSERT_EQ(partial.loc, whole.loc);
      ASSERT_EQ(partial.dist, whole.dist);
      if (turn % 4 == 0) {
        (void)SearchByDifference({image, tmpl, kind}, {}, &wholeShown);
        ASSERT_EQ(cv::norm(shown, wholeShown, cv::NORM_INF), 0.0);
      }
      changed = Change(random, image, tmpl);
      // The best one is overwritten, or touched where it ends.
      if (random.OneIn(3)) {
        const cv::Rect best = cv::Rect(whole.loc, random.OneIn(2) ? cv::Size(1, 1) : small);
        image(best).setTo(random.Colour());
        changed.push_back(best);
      }
    }
  }
}

// What is left of a row whose best placement was overwritten is compared later, even when its next best was
// overwritten meanwhile.
TEST(ExactSearch, OfChangedPlacementsRemembersWhatItOnlyApproximated) {
  cv::Mat image(2, 80, CV_8U, cv::Scalar());
  std::vector<cv::Rect> changed;
  // A window that differs by so many levels.
  const auto show = [&](int row, int slot, int levels) {
    const cv::Rect rect(slot * 16, row, 8, 1);
    for (int i = 0; i < 8; ++i) {
      image.at<unsigned char>(row, rect.x + i) =
          cv::saturate_cast<unsigned char>(kEight.at<unsigned char>(i) + (i % 2 == 0 ? levels : -levels));
    }
    changed.push_back(rect);
  };
  show(0, 0, 10);
  show(1, 0, 20);
  show(1, 2, 30);
  show(1, 4, 50);
  PlacementMap map;
  const auto best = [&] {
    const Placement found = SearchByDifference({image, kEight}, {&map, changed});
    EXPECT_EQ(found.dist, SearchByDifference({image, kEight}).dist);
    changed.clear();
    return found.loc;
  };
  EXPECT_EQ(best(), cv::Point(0, 0));
  show(1, 0, 60);  // leaves 30 and 50 approximated
  EXPECT_EQ(best(), cv::Point(0, 0));
  show(1, 2, 70);
  show(0, 0, 40);
  EXPECT_EQ(best(), cv::Point(0, 0));
  show(0, 0, 70);
  EXPECT_EQ(best(), cv::Point(64, 1));
}

// The sizes are searched by transforms, more of them than are kept.
TEST(ExactSearch, SharesTheSpectraOfATemplateBetweenThreads) {
  Random random(2);
  const cv::Mat image = Noise(random, {340, 260}), tmpl = image(cv::Rect(70, 60, 60, 50)).clone();
  TemplateSpectra spectra;
  const auto search = [&] {
    for (int cut = 0; cut < 40; cut += 5) {
      const cv::Mat region = image(cv::Rect(cut, 0, image.cols - cut, image.rows));
      EXPECT_EQ(SearchByDifference({region, tmpl, Difference::Normed, &spectra}).loc,
                cv::Point(70 - cut, 60));
    }
  };
  for (int turn = 0; turn < 2; ++turn) {
    std::thread other(search);
    search();
    other.join();
  }
}

TEST(ExactSearch, KeepsTheSpectraOfATemplateFromTheSecondSearchOfASizeOn) {
  const cv::Mat tmpl(8, 8, CV_8U, cv::Scalar(7));
  TemplateSpectra spectra;
  int made = 0;
  const auto use = [&](cv::Size padded) {
    (void)TemplateSpectra::Of(tmpl, padded, &spectra, [&] {
      ++made;
      return std::vector{tmpl};
    });
    return made;
  };
  const cv::Size one(16, 16), another(18, 16);
  EXPECT_EQ(use(one), 1);
  EXPECT_EQ(use(another), 2);
  EXPECT_EQ(use(one), 3);
  EXPECT_EQ(use(one), 3);
  EXPECT_EQ(use(another), 4);
  EXPECT_EQ(use(another), 4);
}

TEST(ExactSearch, OfAnotherRegionOrTemplateIgnoresTheMap) {
  Random random(1);
  const cv::Mat image = Noise(random, {60, 40}, CV_8U), other = Noise(random, {61, 40}, CV_8U);
  const cv::Mat tmpl = image(cv::Rect(9, 9, 8, 8)).clone(), another = image(cv::Rect(30, 20, 8, 8)).clone();
  PlacementMap map;
  EXPECT_EQ(SearchByDifference({image, tmpl}, {&map, {}}).loc, cv::Point(9, 9));
  EXPECT_EQ(SearchByDifference({image, another}, {&map, {}}).loc, cv::Point(30, 20));
  EXPECT_EQ(SearchByDifference({other, another}, {&map, {}}).dist, SearchByDifference({other, another}).dist);
  EXPECT_EQ(SearchByDifference({other, another, Difference::MeanSquare}, {&map, {}}).dist,
            SearchByDifference({other, another, Difference::MeanSquare}).dist);
  EXPECT_GE(map.Bytes(), 54u * 33u * sizeof(float));
}

// Each of these misses a change, so the map must not survive it.
TEST(ExactSearch, OfARegionForgetsItsMapWhenItDoesNotFillIt) {
  Random random(4);
  const cv::Mat screen = Screen(random, {90, 70});
  const ROIUnit unit = UnitShowing(screen), small = UnitShowing(screen(cv::Rect(0, 0, 9, 9)));
  const TemplateSpec grey = PreparedSpec(Icon(random, {24, 18}, "Q"));
  TemplateSpec hue = grey;
  hue.mode = MatchMode::H;
  for (const auto& [region, spec] : {std::pair{&small, &grey}, {&unit, &hue}}) {
    PlacementMap map;
    EXPECT_TRUE(SearchRegion(unit, grey, {&map, {}}));
    EXPECT_FALSE(map.Empty());
    (void)SearchRegion(*region, *spec, {&map, {}});
    EXPECT_TRUE(map.Empty());
  }
}

}  // namespace
}  // namespace quillmark::testing
