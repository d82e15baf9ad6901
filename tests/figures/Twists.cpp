#include "figures/Cases.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace quillmark::testing {
namespace {

// The limit itself or the next number above or below.
double Near(Random& random, double limit) {
  const int side = random.Between(-1, 1);
  return side == 0 ? limit : std::nextafter(limit, side * std::numeric_limits<double>::infinity());
}

// A number at about one of the `distances` from `from`.
double Beside(Random& random, double from, std::initializer_list<double> distances) {
  const double distance =
      Near(random, *(distances.begin() + random.Between(0, static_cast<int>(distances.size()) - 1)));
  return random.OneIn(2) ? from + distance : from - distance;
}

constexpr Twist kTwists[] = {
    [](Subject& s) { s.spec.maxDiff = Near(s.random, s.Look().dist); },
    [](Subject& s) { s.spec.minScore = Near(s.random, 1.0 - s.Look().dist); },
    [](Subject& s) {
      s.unit.clipped = true;
      s.spec.maxDiff = Beside(s.random, 0.0, {0.06, 0.16, 0.25, 0.35});
    },
    [](Subject& s) {  // structure alone decides
      s.spec.redHint = s.spec.colorGate = false;
      const Verdict seen = s.Look();
      s.spec.edgeMinFloor = 0.0;
      s.spec.edgeRelaxDiff = Near(s.random, seen.dist);
      const double lowered = (s.random.OneIn(2) ? s.spec.edgeRelaxStep : 0.0) + s.unit.clipped * 0.05;
      s.spec.edgeMin = Near(s.random, std::max(seen.e1, seen.e2) + lowered);
    },
    [](Subject& s) {
      s.spec.redHint = s.spec.colorGate = false;
      s.spec.edgeMin = 1.0;
      s.spec.edgeMinFloor = Near(s.random, s.Look().edgeCorrelation.figure + s.unit.clipped * 0.05);
    },
    [](Subject& s) {
      s.spec.redHint = s.spec.colorGate = false;
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
      s.spec.edgeDensity = Beside(s.random, s.Look().density, {0.04, 0.06});
    },
    [](Subject& s) {
      s.spec.edgeDensity = Beside(s.random, 0.0, {0.005, 0.01});
    },
    [](Subject& s) {  // grey levels that differ more and more, which the correlation minds first
      s.spec.redHint = s.spec.colorGate = false;
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
      s.spec.edgeDensity = s.Look().density;
      const double share = s.random.Between(2, 18) / 20.0;
      cv::addWeighted(s.unit.gray, 1.0 - share, Noise(s.random, s.unit.gray.size(), CV_8UC1), share, 0.0,
                      s.unit.gray);
    },
    [](Subject& s) {
      s.spec.redHint = s.random.OneIn(2);
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
      s.spec.edgeDensity = s.Look().density;
      s.spec.chromaChannel = s.random.Between(1, 2);
      s.spec.chromaMin = Near(s.random, s.Look().chroma.figure);
    },
    [](Subject& s) {  // a blank screen that is not quite blank
      s.unit.gray =
          WithNoise(s.random, cv::Mat(s.unit.gray.size(), CV_8UC1, cv::Scalar(245)), s.random.Between(5, 9));
    },
    [](Subject& s) {
      s.spec.vividFlat = true;
      s.spec.hsvMean[2] = Near(s.random, s.Look().hsvMean[2] + 30.0);
    },
    [](Subject& s) {
      const cv::Scalar mean = s.Look().hsvMean;
      s.AskForRedOnly();
      s.spec.vividFlat = s.random.OneIn(2);
      s.spec.hsvMean = mean;
      const int plane = s.random.Between(0, 2);
      s.spec.hsvMean[plane] =
          Beside(s.random, mean[plane], {8.0, 10.0, 11.0, 12.0, 13.0, 15.0, 18.0, 21.0, 45.0, 170.0});
    },
    [](Subject& s) {  // hardly any saturation, so that the brightness alone counts
      const cv::Scalar mean = s.Look().hsvMean;
      s.AskForRedOnly();
      s.spec.hsvMean = {mean[0] + 90.0, Near(s.random, 15.0), Beside(s.random, mean[2], {45.0, 12.0})};
    },
    [](Subject& s) {
      const double ratio = s.Look().redRatio;
      s.AskForRedOnly();
      s.spec.redHint = !s.random.OneIn(8);
      s.spec.redRatio = Beside(s.random, ratio, {0.08, 0.12});
    },
    [](Subject& s) {
      s.spec.colorGate = true;
      const double mean = s.Look().labAMean;
      s.AskForRedOnly();
      s.spec.labAMean = Beside(s.random, mean, {8.0, 10.0});
    },
    [](Subject& s) {  // an image is missing
      cv::Mat* const images[] = {&s.unit.gray,    &s.unit.bgr,      &s.unit.hsv,     &s.unit.sat,
                                 &s.unit.hue,     &s.spec.tmplGray, &s.spec.tmplBgr, &s.spec.tmplHue,
                                 &s.spec.tmplSat, &s.spec.tmplCr,   &s.spec.tmplCb,  &s.spec.tmplEdgeZm};
      images[s.random.Between(0, 11)]->release();
    },
    [](Subject& s) {  // the planes are of several sizes
      s.unit.gray = s.unit.gray.rowRange(0, s.unit.gray.rows / 2).colRange(0, s.unit.gray.cols - 3);
    },
    [](Subject& s) {  // a pixel less than the template needs, or just as many
      const cv::Range columns(0, std::min(s.spec.tmplGray.cols - s.random.Between(0, 1), s.unit.gray.cols));
      for (cv::Mat* image : {&s.unit.gray, &s.unit.bgr, &s.unit.hsv, &s.unit.sat, &s.unit.hue}) {
        if (!image->empty()) *image = image->colRange(columns);
      }
    },
    [](Subject& s) {  // where a hit is reported
      s.unit.scaleX = s.random.Between(0, 8) / 4.0;
      s.unit.scaleY = s.random.Between(0, 300) / 100.0;
      s.spec.targetRect.right = s.spec.targetRect.left + s.random.Between(-1, 60);
      s.spec.targetRect.top += s.random.Between(-40, 40);
      s.spec.intervalMs = s.random.Between(0, 4);
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
    },
};

}  // namespace

std::span<const Twist> AllTwists() {
  return kTwists;
}

}  // namespace quillmark::testing
