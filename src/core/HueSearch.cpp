#include "core/HueSearch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <opencv2/core/hal/intrin.hpp>
#include <vector>

#include "core/SearchBlocks.h"

namespace quillmark {
namespace {

// Energies are sums of multiples of this.
constexpr double kEnergyUnit = 1.0 / (std::int64_t{1} << 40);

// Measured: adding one product directly, for both planes.
constexpr double kNanosecondsPerProduct = 1.0;

struct HueTables {
  cv::Mat cosines = cv::Mat(1, 256, CV_64F), sines = cosines.clone();
  std::array<std::int64_t, 256> energies;  // of the cosine; the sine has the rest of 1

  HueTables() {
    constexpr double kRadiansPerHue = 0.01745329238474369;  // pi / 180 in single precision
    for (int hue = 0; hue < 256; ++hue) {
      const double angle = static_cast<float>(hue * kRadiansPerHue);
      cosines.at<double>(hue) = std::cos(angle);
      sines.at<double>(hue) = std::sin(angle);
      energies[hue] = std::llround(std::cos(angle) * std::cos(angle) / kEnergyUnit);
    }
  }
};

const HueTables& Tables() {
  static const HueTables tables;
  return tables;
}

// The cosines and the sines.
std::vector<cv::Mat> VectorsOf(const cv::Mat& hue) {
  std::vector<cv::Mat> planes(2);
  cv::LUT(hue, Tables().cosines, planes[0]);
  cv::LUT(hue, Tables().sines, planes[1]);
  return planes;
}

// The energy of the cosines of every window of an area, row by row, in pixels.
class CosineEnergies {
 public:
  CosineEnergies(const cv::Mat& hues, cv::Size size)
      : area(hues), window(size), columns(hues.cols), energies(hues.cols - size.width + 1) {
    for (int y = 0; y < window.height; ++y) {
      for (int x = 0; x < area.cols; ++x) columns[x] += of[area.ptr(y)[x]];
    }
  }
  const std::vector<double>& NextRow() {
    if (row > 0) {
      const unsigned char* const left = area.ptr(row - 1);
      const unsigned char* const entered = area.ptr(row - 1 + window.height);
      for (int x = 0; x < area.cols; ++x) columns[x] += of[entered[x]] - of[left[x]];
    }
    ++row;
    std::int64_t sum = 0;
    for (int x = 0; x < window.width; ++x) sum += columns[x];
    energies[0] = static_cast<double>(sum) * kEnergyUnit;
    for (std::size_t x = 1; x < energies.size(); ++x) {
      sum += columns[x + window.width - 1] - columns[x - 1];
      energies[x] = static_cast<double>(sum) * kEnergyUnit;
    }
    return energies;
  }

 private:
  const std::array<std::int64_t, 256>& of = Tables().energies;
  const cv::Mat area;
  const cv::Size window;
  int row = 0;
  std::vector<std::int64_t> columns;
  std::vector<double> energies;
};

class HueSearch {
 public:
  HueSearch(const cv::Mat& hues, const cv::Mat& templ, TemplateSpectra* kept, cv::Mat& to)
      : hue(hues),
        tmpl(templ),
        spectra(kept),
        scores(to),
        tmplPlanes(VectorsOf(templ)),
        pixels(templ.size().area()) {
    for (int i = 0; i < 2; ++i) norms[i] = cv::norm(tmplPlanes[i]);
    rightAngles = std::clamp(-cv::sum(tmplPlanes[0])[0] / (norms[0] * std::sqrt(pixels)), -1.0, 1.0);
  }

  void Run() {
    const cv::Rect all(0, 0, hue.cols - tmpl.cols + 1, hue.rows - tmpl.rows + 1);
    scores.create(all.size(), CV_32F);
    const BlockPlan plan = PlanTransforms({all.size(), tmpl.size(), 2, 2, spectra != nullptr});
    const double directly = kNanosecondsPerProduct * all.area() * tmpl.size().area();
    if (directly < plan.nanoseconds) {
      ForEachBlock(all, {kDirectWidth, all.height}, [&](const cv::Rect& block) { ScoreDirectly(block); });
    } else {
      ScoreByTransforms(all, plan);
    }
  }

 private:
  void ScoreDirectly(const cv::Rect& block) {
    const std::vector<cv::Mat> planes = VectorsOf(hue(PixelsUnder(block, tmpl.size())));
    std::vector<double> sums[2];
    Score(block, [&](int plane, int row) {
      std::vector<double>& sum = sums[plane];
      sum.assign(block.width, 0.0);
      for (int y = 0; y < tmpl.rows; ++y) {
        for (int x = 0; x < tmpl.cols; ++x) {
          const double tap = tmplPlanes[plane].at<double>(y, x);
          const double* const from = planes[plane].ptr<double>(row + y) + x;
          for (int i = 0; i < block.width; ++i) sum[i] += tap * from[i];
        }
      }
      return sum.data();
    });
  }

  void ScoreByTransforms(const cv::Rect& all, const BlockPlan& plan) {
    const auto transformed = TemplateSpectra::Of(tmpl, plan.padded, spectra, [&] { return tmplPlanes; });
    Spectrum product;
    cv::Mat products[2];
    ForEachBlock(all, plan.block, [&](const cv::Rect& block) {
      const std::vector<cv::Mat> planes = VectorsOf(hue(PixelsUnder(block, tmpl.size())));
      for (int i = 0; i < 2; ++i) {
        transformed->transform.Forward(planes[i], product);
        PlaneTransform::MultiplyConjugate(product, transformed->planes[i], product, false);
        products[i].create(block.size(), CV_64F);
        transformed->transform.Inverse(product, products[i]);
      }
      Score(block, [&](int plane, int row) { return products[plane].ptr<double>(row); });
    });
  }

  template <typename Products>
  void Score(const cv::Rect& block, const Products& productsOf) {
    CosineEnergies energies(hue(PixelsUnder(block, tmpl.size())), tmpl.size());
    for (int y = 0; y < block.height; ++y) {
      ScoreRow(energies.NextRow(), productsOf(0, y), productsOf(1, y),
               scores.ptr<float>(block.y + y) + block.x);
    }
  }

  void ScoreRow(const std::vector<double>& energies, const double* cosines, const double* sines,
                float* to) const {
    const int width = static_cast<int>(energies.size());
    int x = 0;
    for (; x + 4 <= width; x += 4) {
      const cv::v_float64x2 low = ScorePair(&energies[x], cosines + x, sines + x);
      const cv::v_float64x2 high = ScorePair(&energies[x + 2], cosines + x + 2, sines + x + 2);
      cv::v_store(to + x, cv::v_cvt_f32(low, high));
    }
    for (; x < width; ++x) {
      const double energy[] = {energies[x], energies[x]}, cosine[] = {cosines[x], cosines[x]},
                   sine[] = {sines[x], sines[x]};
      to[x] = static_cast<float>(ScorePair(energy, cosine, sine).get0());
    }
  }

  // The scores of two placements.
  [[nodiscard]] cv::v_float64x2 ScorePair(const double* energies, const double* cosines,
                                          const double* sines) const {
    const cv::v_float64x2 zero = cv::v_setzero_f64();
    const cv::v_float64x2 cosine = cv::v_load(energies), sine = cv::v_setall_f64(pixels) - cosine;
    const cv::v_float64x2 score = Normalised(cv::v_load(cosines), cosine, norms[0]);
    const cv::v_float64x2 other = Normalised(cv::v_load(sines), sine, norms[1]);
    return cv::v_setall_f64(0.5) * (cv::v_select(cosine == zero, cv::v_setall_f64(rightAngles), score) +
                                    cv::v_select(sine == zero, zero, other));
  }

  // Undefined where `energy` is 0.
  static cv::v_float64x2 Normalised(const cv::v_float64x2& product, const cv::v_float64x2& energy,
                                    double norm) {
    if (norm == 0.0) return cv::v_setzero_f64();
    const cv::v_float64x2 score = product / (cv::v_sqrt(energy) * cv::v_setall_f64(norm));
    return cv::v_max(cv::v_min(score, cv::v_setall_f64(1.0)), cv::v_setall_f64(-1.0));
  }

  const cv::Mat &hue, &tmpl;
  TemplateSpectra* const spectra;
  cv::Mat& scores;
  const std::vector<cv::Mat> tmplPlanes;
  double norms[2];  // of the template's planes
  const double pixels;
  // In single precision the cosine of 90 degrees is tiny but not 0; normalised, it counts like any other.
  // This is the cosines' score of a window of nothing else, whose energy is less than one unit.
  double rightAngles;
};

}  // namespace

void ScoreHues(const cv::Mat& hue, const cv::Mat& tmpl, TemplateSpectra* spectra, cv::Mat& scores) {
  HueSearch(hue, tmpl, spectra, scores).Run();
}

}  // namespace quillmark
