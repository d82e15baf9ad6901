#include "core/HueSearch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
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

// The energy of the cosines of every window of an area, row by row.
class CosineEnergies {
 public:
  CosineEnergies(const cv::Mat& hues, cv::Size size)
      : area(hues), window(size), columns(hues.cols), energies(hues.cols - size.width + 1) {
    for (int y = 0; y < window.height; ++y) {
      for (int x = 0; x < area.cols; ++x) columns[x] += of[area.ptr(y)[x]];
    }
  }
  const std::vector<std::int64_t>& NextRow() {
    if (row > 0) {
      const unsigned char* const left = area.ptr(row - 1);
      const unsigned char* const entered = area.ptr(row - 1 + window.height);
      for (int x = 0; x < area.cols; ++x) columns[x] += of[entered[x]] - of[left[x]];
    }
    ++row;
    std::int64_t sum = 0;
    for (int x = 0; x < window.width; ++x) sum += columns[x];
    energies[0] = sum;
    for (std::size_t x = 1; x < energies.size(); ++x) {
      sum += columns[x + window.width - 1] - columns[x - 1];
      energies[x] = sum;
    }
    return energies;
  }

 private:
  const std::array<std::int64_t, 256>& of = Tables().energies;
  const cv::Mat area;
  const cv::Size window;
  int row = 0;
  std::vector<std::int64_t> columns, energies;
};

// product / norm, at most 1; 0 where a norm of 0 leaves it undefined.
double Normalised(double product, double norm) {
  if (std::abs(product) < norm) return product / norm;
  if (std::abs(product) < norm * 1.125) return product > 0.0 ? 1.0 : -1.0;
  return 0.0;
}

class HueSearch {
 public:
  HueSearch(const cv::Mat& hues, const cv::Mat& templ, TemplateSpectra* kept, cv::Mat& to)
      : hue(hues), tmpl(templ), spectra(kept), scores(to), tmplPlanes(VectorsOf(templ)) {
    for (int i = 0; i < 2; ++i) norms[i] = cv::norm(tmplPlanes[i]);
    rightAngles = cv::sum(tmplPlanes[0])[0] * Tables().cosines.at<double>(90);
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

  void ScoreRow(const std::vector<std::int64_t>& energies, const double* cosines, const double* sines,
                float* to) const {
    const double pixels = tmpl.size().area();
    for (std::size_t x = 0; x < energies.size(); ++x) {
      const double cosine = static_cast<double>(energies[x]) * kEnergyUnit, sine = pixels - cosine;
      // In single precision the cosine of 90 degrees is tiny but not 0; normalised, it counts like any other.
      const double cosineScore =
          energies[x] == 0
              ? Normalised(rightAngles, norms[0] * -Tables().cosines.at<double>(90) * std::sqrt(pixels))
              : Normalised(cosines[x], norms[0] * std::sqrt(cosine));
      const double sineScore = sine == 0.0 ? 0.0 : Normalised(sines[x], norms[1] * std::sqrt(sine));
      to[x] = static_cast<float>(0.5 * (cosineScore + sineScore));
    }
  }

  const cv::Mat &hue, &tmpl;
  TemplateSpectra* const spectra;
  cv::Mat& scores;
  const std::vector<cv::Mat> tmplPlanes;
  double norms[2];     // of the template's planes
  double rightAngles;  // the product of the template's cosines with a window of 90 degrees
};

}  // namespace

void ScoreHues(const cv::Mat& hue, const cv::Mat& tmpl, TemplateSpectra* spectra, cv::Mat& scores) {
  HueSearch(hue, tmpl, spectra, scores).Run();
}

}  // namespace quillmark
