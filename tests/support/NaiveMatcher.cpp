#include "support/NaiveMatcher.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace quillmark::testing {
namespace {

constexpr double kFloatRoundings = 16 * 6e-8;

using Planes = std::vector<cv::Mat>;  // CV_64F

Planes InDouble(const cv::Mat& image) {
  Planes planes;
  cv::split(image, planes);
  for (cv::Mat& plane : planes) plane.convertTo(plane, CV_64F);
  return planes;
}

struct Sums {
  double image = 0.0, image2 = 0.0, tpl = 0.0, tpl2 = 0.0, cross = 0.0;
};

Sums SumUp(const Planes& image, const Planes& tpl, cv::Point at) {
  Sums s;
  for (size_t channel = 0; channel < tpl.size(); ++channel) {
    for (int y = 0; y < tpl[channel].rows; ++y) {
      const double* i = image[channel].ptr<double>(at.y + y) + at.x;
      const double* t = tpl[channel].ptr<double>(y);
      for (int x = 0; x < tpl[channel].cols; ++x) {
        s.image += i[x];
        s.image2 += i[x] * i[x];
        s.tpl += t[x];
        s.tpl2 += t[x] * t[x];
        s.cross += i[x] * t[x];
      }
    }
  }
  return s;
}

ScoreMap ScoreEverywhere(const Planes& image, const Planes& tpl,
                         const std::function<double(const Sums&)>& score) {
  if (image.empty() || tpl.empty()) return {};
  const cv::Size positions(image[0].cols - tpl[0].cols + 1, image[0].rows - tpl[0].rows + 1);
  if (positions.width < 1 || positions.height < 1) return {};
  ScoreMap map(positions, 0.0);
  for (int y = 0; y < positions.height; ++y) {
    for (int x = 0; x < positions.width; ++x) map.At({x, y}) = score(SumUp(image, tpl, {x, y}));
  }
  return map;
}

double SquaredDifference(const Sums& s) {
  return std::max(s.image2 - 2.0 * s.cross + s.tpl2, 0.0);
}

// A black window or template differs by 1 from anything, itself included, and nothing by more.
double NormedDifference(const Sums& s) {
  const double norm = std::sqrt(s.image2 * s.tpl2);
  return norm > 0.0 ? std::min(SquaredDifference(s) / norm, 1.0) : 1.0;
}

double NormedProduct(const Sums& s) {
  const double norm = std::sqrt(s.image2 * s.tpl2);
  return norm > 1e-9 ? s.cross / norm : 0.0;
}

double Variance(const Planes& plane) {
  const Sums s = SumUp(plane, plane, {0, 0});
  const double pixels = static_cast<double>(plane[0].total());
  return s.image2 / pixels - (s.image / pixels) * (s.image / pixels);
}

struct Correlation {
  double value = 0.0;
  double error = 0.0;  // what products of raw levels, summed in single precision, may be off by
};

// As the image library scores it: a uniform image agrees with nothing, a uniform template with everything,
// unless the rounding of its variance makes it agree with nothing.
Correlation WindowCorrelation(const Planes& window, const Planes& tpl) {
  if (Variance(tpl) < 1e-9) return {1.0, 1.0};
  if (Variance(window) < 1e-9) return {0.0, 0.0};
  const Sums s = SumUp(window, tpl, {0, 0});
  const double pixels = static_cast<double>(tpl[0].total());
  const double cross = s.cross - s.image * s.tpl / pixels;
  const double spread =
      std::sqrt((s.image2 - s.image * s.image / pixels) * (s.tpl2 - s.tpl * s.tpl / pixels));
  return {cross / spread, kFloatRoundings * std::sqrt(s.image2 * s.tpl2) / spread};
}

struct Best {
  bool found = false;
  cv::Point loc;
  double score = 0.0;
  double error = 0.0;
};

// By how much a normalised difference may be off: the library's sums carry the roundings of its brightest
// places, which weigh most where the window is dark.
Best WithNormError(Best best, const cv::Mat& image, const cv::Mat& tpl) {
  if (!best.found) return best;
  const cv::Mat window = image(cv::Rect(best.loc, tpl.size()));
  const double energy = window.dot(window), brightest = 255.0 * 255.0 * static_cast<double>(window.total());
  if (energy > 0.0) best.error = kFloatRoundings * std::sqrt(brightest * window.channels() / energy);
  return best;
}

Best PickBest(const ScoreMap& map, bool largest, cv::Point preferred) {
  if (map.Empty()) return {};
  cv::Point loc = map.First(largest);
  if (map.Has(preferred) && std::abs(map.At(preferred) - map.At(loc)) < 1e-5) loc = preferred;
  return {true, loc, map.At(loc), 0.0};
}

Best RefineBySaturation(const ROIUnit& unit, const TemplateSpec& spec, const ScoreMap& hues, cv::Point around,
                        cv::Point preferred) {
  const double weight = spec.redHint ? 0.9 : 0.8;
  ScoreMap blended(hues.Size(), -1.0), errors(hues.Size(), 0.0);
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      const cv::Point at = around + cv::Point(dx, dy);
      if (!blended.Has(at)) continue;
      const cv::Mat window = unit.sat(cv::Rect(at, spec.tmplSat.size()));
      const Correlation saturation = WindowCorrelation(InDouble(window), InDouble(spec.tmplSat));
      blended.At(at) = (1.0 - weight) * saturation.value + weight * hues.At(around);
      errors.At(at) = (1.0 - weight) * saturation.error;
    }
  }
  Best best = PickBest(blended, true, preferred);
  best.error = errors.At(best.loc);
  return best;
}

// Any of several equal hue places may have been refined; one that leads to the preferred place is as good.
Best BestByHueAndSaturation(const ROIUnit& unit, const TemplateSpec& spec, cv::Point preferred) {
  const ScoreMap hues = NaiveHueVec(unit.hue, spec.tmplHue);
  if (hues.Empty()) return {};
  const cv::Point first = hues.First(true);
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      const cv::Point around = PickBest(hues, true, preferred + cv::Point(dx, dy)).loc;
      const Best best = RefineBySaturation(unit, spec, hues, around, preferred);
      if (best.loc == preferred) return best;
    }
  }
  return RefineBySaturation(unit, spec, hues, first, preferred);
}

Best BestPlacement(const ROIUnit& unit, const TemplateSpec& spec, cv::Point preferred) {
  switch (static_cast<int>(spec.mode)) {
    case 1:
      return WithNormError(PickBest(NaiveSqDiffNormed(unit.bgr, spec.tmplBgr), false, preferred), unit.bgr,
                           spec.tmplBgr);
    case 2:
      return WithNormError(PickBest(NaiveSqDiffNormed(unit.sat, spec.tmplSat), false, preferred), unit.sat,
                           spec.tmplSat);
    case 3:
      return PickBest(NaiveHueVec(unit.hue, spec.tmplHue), true, preferred);
    case 4:
      return BestByHueAndSaturation(unit, spec, preferred);
    default:
      return PickBest(NaiveGraySqDiff(unit.gray, spec.tmplGray), false, preferred);
  }
}

cv::Scalar MeanOf(const cv::Mat& image) {
  cv::Scalar mean;
  const Planes planes = InDouble(image);
  for (size_t c = 0; c < planes.size(); ++c) {
    mean[static_cast<int>(c)] = SumUp(planes, {planes[c]}, {0, 0}).tpl / static_cast<double>(image.total());
  }
  return mean;
}

cv::Mat DilatedBy1(const cv::Mat& mask) {
  cv::Mat dilated(mask.size(), CV_8U, cv::Scalar(0));
  const cv::Rect all(cv::Point(), mask.size());
  for (int y = 0; y < mask.rows; ++y) {
    for (int x = 0; x < mask.cols; ++x) {
      if (mask.at<unsigned char>(y, x)) dilated(cv::Rect(x - 1, y - 1, 3, 3) & all).setTo(255);
    }
  }
  return dilated;
}

double ShareOfRed(const cv::Mat& hsv) {
  int red = 0;
  for (auto p = hsv.begin<cv::Vec3b>(); p != hsv.end<cv::Vec3b>(); ++p) {
    red += ((*p)[0] <= 10 || (*p)[0] >= 170) && (*p)[1] >= 80 && (*p)[2] >= 50;
  }
  return red / static_cast<double>(hsv.total());
}

}  // namespace

cv::Point ScoreMap::First(bool largest) const {
  cv::Point first;
  for (int y = 0; y < scores_.rows; ++y) {
    for (int x = 0; x < scores_.cols; ++x) {
      const double score = At({x, y});
      if (largest ? score > At(first) : score < At(first)) first = {x, y};
    }
  }
  return first;
}

ScoreMap NaiveSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl) {
  return ScoreEverywhere(InDouble(image), InDouble(tpl), NormedDifference);
}

ScoreMap NaiveGraySqDiff(const cv::Mat& gray, const cv::Mat& tpl) {
  if (std::sqrt(Variance(InDouble(tpl))) >= 3.0) return NaiveSqDiffNormed(gray, tpl);
  const double scale = static_cast<double>(tpl.total()) * 255.0 * 255.0;
  return ScoreEverywhere(InDouble(gray), InDouble(tpl),
                         [scale](const Sums& s) { return SquaredDifference(s) / scale; });
}

ScoreMap NaiveHueVec(const cv::Mat& hue, const cv::Mat& tpl) {
  // The angle is a single-precision number, so the cosine of 90 degrees is tiny but not 0; normalised, a flat
  // ground of that hue counts as much as any other.
  const auto turned = [](const cv::Mat& hues, double (*turn)(double)) {
    Planes planes = InDouble(hues);
    for (auto h = planes[0].begin<double>(); h != planes[0].end<double>(); ++h) {
      *h = turn(static_cast<float>(*h * 0.01745329238474369));
    }
    return planes;
  };
  const ScoreMap cosines = ScoreEverywhere(turned(hue, std::cos), turned(tpl, std::cos), NormedProduct);
  ScoreMap scores = ScoreEverywhere(turned(hue, std::sin), turned(tpl, std::sin), NormedProduct);
  for (int y = 0; y < scores.Size().height; ++y) {
    for (int x = 0; x < scores.Size().width; ++x) {
      scores.At({x, y}) = 0.5 * (scores.At({x, y}) + cosines.At({x, y}));
    }
  }
  return scores;
}

double NaiveCorrelation(const cv::Mat& a, const cv::Mat& b) {
  const Planes x = InDouble(a), y = InDouble(b);
  const Sums s = SumUp(x, y, {0, 0});
  const double pixels = static_cast<double>(a.total());
  const double cross = s.cross - s.image * s.tpl / pixels;
  const double spread = (s.image2 - s.image * s.image / pixels) * (s.tpl2 - s.tpl * s.tpl / pixels);
  return spread > 1e-9 ? cross / std::sqrt(spread) : 0.0;
}

Judgement Judge(const ROIUnit& unit, const TemplateSpec& spec, cv::Point preferred) {
  Judgement j;
  const auto finish = [&j](int step) {
    j.finishedAt = step;
    return j;
  };
  const auto atMost = [&j](double value, double limit) {
    j.margin = std::min(j.margin, std::abs(value - limit));
    return value <= limit;
  };
  const auto atLeast = [&atMost](double value, double limit) { return atMost(-value, -limit); };

  const int mode = static_cast<int>(spec.mode);
  const bool byHue = mode == 3 || mode == 4;
  if (mode >= 0 && mode <= 2 && (unit.gray.empty() || spec.tmplGray.empty())) return finish(1);
  if (byHue && (unit.hsv.empty() || spec.tmplHue.empty())) return finish(1);

  const Best best = BestPlacement(unit, spec, preferred);
  if (!best.found) return finish(3);
  j.loc = best.loc;
  j.dist = byHue ? 1.0 - best.score : best.score;
  j.distError = best.error;

  const int tw = spec.tmplGray.cols, th = spec.tmplGray.rows;
  const bool tiny = tw * th <= 256;
  double t = spec.maxDiff;
  if (unit.clipped) t = t < 0.16 ? 0.16 : t > 0.25 ? 0.25 : t;
  if (byHue && t < 0.35) t = 0.35;
  if (tiny && !byHue && t > 0.06) t = 0.06;
  if (!atMost(j.dist, t)) return finish(3);
  if (spec.minScore > 0.0 && !atLeast(1.0 - j.dist, spec.minScore)) return finish(3);
  j.margin = std::max(j.margin - j.distError, 0.0);

  const cv::Rect rect(j.loc, cv::Size(tw, th));
  if ((rect & cv::Rect(cv::Point(), unit.gray.size())) != rect) return finish(4);
  const cv::Mat patch = unit.gray(rect).clone();

  const double tmplStdDev = std::sqrt(Variance(InDouble(spec.tmplGray)));
  if (MeanOf(spec.tmplGray)[0] > 245.0 && tmplStdDev < 3.0) {
    if (!atMost(std::sqrt(Variance(InDouble(patch))), 4.0)) return finish(5);
  }

  bool chromaOk = true;
  if (spec.chromaChannel == 1 || spec.chromaChannel == 2) {
    cv::Mat ycrcb;
    cv::cvtColor(unit.bgr(rect), ycrcb, cv::COLOR_BGR2YCrCb);
    const Planes tmpl = InDouble(spec.chromaChannel == 1 ? spec.tmplCr : spec.tmplCb);
    const Correlation plane = WindowCorrelation({InDouble(ycrcb)[spec.chromaChannel]}, tmpl);
    j.chroma = plane.value;
    j.chromaError = plane.error;
    chromaOk = atLeast(*j.chroma, spec.chromaMin);
    j.margin = std::max(j.margin - plane.error, 0.0);
  }

  const bool lowDetail = tiny || spec.edgeDensity < 0.01;
  const bool flat = tmplStdDev < 3.0 || spec.edgeDensity < 0.005;
  bool nccOk = true, edgeOk = true, densityOk = true;
  if (!flat) {
    double nccMin = !lowDetail ? 0.58 : spec.redHint ? 0.6 : 0.7;
    if (unit.clipped) nccMin = std::max(nccMin - 0.05, 0.5);
    j.ncc = NaiveCorrelation(patch, spec.tmplGray);
    nccOk = atLeast(*j.ncc, nccMin);
  }
  if (!flat && !lowDetail) {
    cv::Mat edges;
    cv::Canny(patch, edges, 50, 150, 3, false);
    j.e1 = NaiveCorrelation(edges, spec.tmplEdgeZm);
    j.e2 = NaiveCorrelation(DilatedBy1(edges), spec.tmplEdgeDilZm);
    double edgeThr = spec.edgeMin;
    if (atMost(j.dist, spec.edgeRelaxDiff)) edgeThr -= spec.edgeRelaxStep;
    if (edgeThr < spec.edgeMinFloor) edgeThr = spec.edgeMinFloor;
    if (unit.clipped) edgeThr -= 0.05;
    edgeOk = atLeast(std::max(*j.e1, *j.e2), edgeThr);
    j.density = cv::countNonZero(edges) / static_cast<double>(edges.total());
    densityOk = unit.clipped || atMost(std::abs(*j.density - spec.edgeDensity), 0.04);
  }
  if (byHue || spec.redHint || spec.colorGate) nccOk = edgeOk = densityOk = true;

  j.hsvMean = unit.hsv.empty() ? cv::Scalar() : MeanOf(unit.hsv(rect));
  const double darker = spec.hsvMean[2] - (*j.hsvMean)[2];
  if (spec.vividFlat && !atMost(darker, 30.0)) return finish(8);

  bool colourOk = true;
  if (spec.redHint || spec.colorGate) {
    const double more = unit.clipped ? 3.0 : 0.0;
    const bool lowSat = spec.hsvMean[1] <= 15.0;
    const double dv = std::abs(darker), ds = std::abs((*j.hsvMean)[1] - spec.hsvMean[1]);
    double dh = std::abs((*j.hsvMean)[0] - spec.hsvMean[0]);
    if (dh > 90.0) dh = 180.0 - dh;
    bool hsvOk = false;
    if (lowSat) {
      hsvOk = atMost(dv, 45.0);
    } else {
      const bool hOk = atMost(dh, (lowDetail ? 18.0 : 12.0) + more);
      const bool sOk = atMost(ds, (spec.vividFlat ? 8.0 : 12.0) + more);
      const bool vOk = atMost(dv, (spec.vividFlat ? 10.0 : 12.0) + more);
      hsvOk = hOk && sOk && vOk;
    }
    j.redRatio = ShareOfRed(unit.hsv(rect));
    const bool redOk =
        !spec.redHint || atMost(std::abs(*j.redRatio - spec.redRatio), unit.clipped ? 0.12 : 0.08);
    cv::Mat lab;
    cv::cvtColor(unit.bgr(rect), lab, cv::COLOR_BGR2Lab);
    j.labA = MeanOf(lab)[1];
    const bool labOk = lowSat || atMost(std::abs(*j.labA - spec.labAMean), unit.clipped ? 10.0 : 8.0);
    colourOk = hsvOk || redOk || labOk;
  }
  if (!byHue && !(nccOk && edgeOk && densityOk && chromaOk && colourOk)) return finish(9);

  const double sx = unit.scaleX == 0.0 ? 1.0 : unit.scaleX, sy = unit.scaleY == 0.0 ? 1.0 : unit.scaleY;
  const Rect& target = spec.targetRect;
  j.w = static_cast<int>(std::max(std::lround(tw * sx), 1L));
  j.h = static_cast<int>(std::max(std::lround(th * sy), 1L));
  j.cx = static_cast<int>(std::lround(unit.x + (j.loc.x + tw * 0.5) * sx)) - target.left;
  j.cy = static_cast<int>(std::lround(unit.y + (j.loc.y + th * 0.5) * sy)) - target.top;
  if (target.right > target.left && target.bottom > target.top) {
    j.cx = std::max(std::min(j.cx, target.right - target.left - j.w), 0);
    j.cy = std::max(std::min(j.cy, target.bottom - target.top - j.h), 0);
  }
  j.sq = 1.0 - j.dist;
  if (!lowDetail) j.edge = std::max(j.e1.value_or(0.0), j.e2.value_or(0.0));
  if (spec.intervalMs > 0) j.dedupWindowMs = std::max<std::uint64_t>(spec.intervalMs * 6ull / 10, 1);
  return finish(10);
}

}  // namespace quillmark::testing
