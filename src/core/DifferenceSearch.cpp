#include "core/DifferenceSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <utility>

#include "WindowEnergies.h"
#include "core/DirectProducts.h"
#include "core/SearchBlocks.h"

namespace quillmark {
namespace {

// Approximate differences are within 4e-7 of the exact ones, relatively: of two placements whose approximate
// differences are farther apart than this, the smaller is the better.
constexpr float kNear = 1e-6f;

// A search of the changed placements must promise to take at most this share of a whole one's time.
constexpr double kWorthIt = 0.7;

// Spectra of up to this size are kept for the next search on the same thread.
constexpr std::size_t kKeptScratch = std::size_t{4} << 20;

constexpr double kInfinite = std::numeric_limits<double>::infinity();

// Rounds to the nearest integer, as adding this leaves no bits for a fraction.
constexpr double kRounder = 6755399441055744.0;  // 1.5 * 2^52

double ToInteger(double product) {
  return (product + kRounder) - kRounder;
}

double EnergyOf(const cv::Mat& tmpl) {
  return tmpl.dot(tmpl);
}

}  // namespace

class DifferenceSearch {
 public:
  struct Scratch {
    std::vector<cv::Mat> planes;
    Spectrum image, product;
    cv::Mat products;
    std::vector<double> direct, energies;
    std::vector<float> differences;

    void ReleaseLarge() {
      if ((image.size() + product.size()) * sizeof(Spectrum::value_type) > kKeptScratch) *this = Scratch();
    }
  };

  DifferenceSearch(const DifferenceInputs& inputs, Scratch& kept)
      : image(inputs.image),
        tmpl(inputs.tmpl),
        spectra(inputs.spectra),
        scratch(kept),
        placements(image.cols - tmpl.cols + 1, image.rows - tmpl.rows + 1),
        energy(EnergyOf(tmpl)),
        normed(inputs.kind == Difference::Normed),
        norm(normed ? std::sqrt(energy) : tmpl.size().area() * 255.0 * 255.0) {}

  // `map` stays empty when an exception ends the search.
  Placement Search(const KnownPlacements& known, cv::Mat* shown) {
    if (known.map != nullptr) map = std::exchange(*known.map, PlacementMap());
    if (IsOfThisSearch()) {
      Refresh(known.changed);
    } else {
      SearchAll(known.map != nullptr || shown != nullptr);
    }
    const Placement best = Best();
    if (shown != nullptr) map.approximate.copyTo(*shown);
    if (known.map != nullptr) *known.map = std::move(map);
    return best;
  }

 private:
  using Row = PlacementMap::Row;

  [[nodiscard]] bool IsOfThisSearch() const {
    return map.approximate.size() == placements && map.normed == normed && map.tmpl.data == tmpl.data &&
           map.tmpl.size() == tmpl.size() && map.tmpl.type() == tmpl.type();
  }

  void SearchAll(bool keep) {
    map.tmpl = tmpl;
    map.normed = normed;
    map.rows.assign(placements.height, Row());
    if (keep) map.approximate.create(placements, CV_32F);
    SearchArea({cv::Point(), placements});
  }

  void Refresh(std::span<const cv::Rect> changed) {
    const std::vector<cv::Rect> areas = TouchedAreas(changed);
    double partial = 0.0;
    for (const cv::Rect& area : areas) partial += PlanOf(area.size()).nanoseconds;
    if (partial > kWorthIt * PlanOf(placements).nanoseconds) return SearchAll(true);
    for (const cv::Rect& area : areas) Forget(area);
    for (const cv::Rect& area : areas) SearchArea(area);
  }

  // The placements that touch changed pixels. Areas are joined where that saves time.
  [[nodiscard]] std::vector<cv::Rect> TouchedAreas(std::span<const cv::Rect> changed) const {
    std::vector<cv::Rect> areas;
    for (const cv::Rect& each : changed) {
      const cv::Rect visible = each & cv::Rect(cv::Point(), image.size());
      if (visible.empty()) continue;
      const cv::Rect touched(visible.x - tmpl.cols + 1, visible.y - tmpl.rows + 1,
                             visible.width + tmpl.cols - 1, visible.height + tmpl.rows - 1);
      cv::Rect area = touched & cv::Rect(cv::Point(), placements);
      for (auto other = areas.begin(); other != areas.end();) {
        const cv::Rect both = area | *other;
        if (PixelsUnder(both, tmpl.size()).area() >
            PixelsUnder(area, tmpl.size()).area() + PixelsUnder(*other, tmpl.size()).area()) {
          ++other;
          continue;
        }
        area = both;
        areas.erase(other);
        other = areas.begin();
      }
      areas.push_back(area);
    }
    return areas;
  }

  void Forget(const cv::Rect& area) {
    map.approximate(area).setTo(std::numeric_limits<float>::infinity());
    for (int y = area.y; y < area.br().y; ++y) {
      Row& row = map.rows[y];
      if (row.x < area.x || row.x >= area.br().x) continue;
      const float* const approximate = map.approximate.ptr<float>(y);
      row = {kInfinite, 0, *std::min_element(approximate, approximate + placements.width)};
    }
  }

  // -- the products of an area ----------------------------------------------------------------------------

  [[nodiscard]] BlockPlan PlanOf(cv::Size area) const {
    BlockPlan direct{{std::min(area.width, kDirectWidth), area.height}, {}, kInfinite};
    if (tmpl.cols * tmpl.channels() <= DirectProducts::kMaxRow) {
      direct.nanoseconds = DirectProducts::Nanoseconds(area, tmpl.size(), tmpl.channels());
    }
    if (direct.nanoseconds < 5000.0) return direct;
    BlockPlan plan = PlanTransforms({area, tmpl.size(), tmpl.channels(), 1, spectra != nullptr});
    return direct.nanoseconds <= plan.nanoseconds ? direct : plan;
  }

  void SearchArea(const cv::Rect& area) {
    const BlockPlan plan = PlanOf(area.size());
    if (!plan.padded.empty()) return SearchByTransforms(area, plan);
    if (!products) products.emplace(tmpl);
    scratch.direct.resize(plan.block.width + 16);
    ForEachBlock(area, plan.block, [&](const cv::Rect& block) {
      products->Start(image(PixelsUnder(block, tmpl.size())));
      CompareBlock(block, [&](int) {
        products->NextRow(scratch.direct.data());
        return scratch.direct.data();
      });
    });
  }

  void SearchByTransforms(const cv::Rect& area, const BlockPlan& plan) {
    const auto transformed = TemplateSpectra::Of(tmpl, plan.padded, spectra, [&] {
      std::vector<cv::Mat> planes;
      cv::split(tmpl, planes);
      return planes;
    });
    ForEachBlock(area, plan.block, [&](const cv::Rect& block) {
      cv::split(image(PixelsUnder(block, tmpl.size())), scratch.planes);
      for (std::size_t c = 0; c < scratch.planes.size(); ++c) {
        Spectrum& spectrum = c == 0 ? scratch.product : scratch.image;
        transformed->transform.Forward(scratch.planes[c], spectrum);
        PlaneTransform::MultiplyConjugate(spectrum, transformed->planes[c], scratch.product, c > 0);
      }
      scratch.products.create(block.size(), CV_64F);
      transformed->transform.Inverse(scratch.product, scratch.products);
      CompareBlock(block, [&](int row) { return scratch.products.ptr<double>(row); });
    });
  }

  // -- differences ----------------------------------------------------------------------------------------

  template <typename Products>
  void CompareBlock(const cv::Rect& block, const Products& productsOf) {
    windows.Start(image(PixelsUnder(block, tmpl.size())), tmpl.size());
    scratch.energies.resize(block.width);
    scratch.differences.resize(block.width);
    for (int y = 0; y < block.height; ++y) {
      windows.NextRow(scratch.energies.data());
      CompareRow(block.y + y, block.x, block.width, productsOf(y));
    }
  }

  void CompareRow(int y, int left, int width, const double* of) {
    float* const approximate =
        map.approximate.empty() ? scratch.differences.data() : map.approximate.ptr<float>(y) + left;
    const float smallest = Approximate(of, width, approximate);
    Row& row = map.rows[y];
    const float limit = smallest * (1.0f + kNear);
    if (smallest > row.dist * (1.0 + kNear)) return;
    double lastProduct = -1.0, lastEnergy = -1.0;
    for (int x = 0; x < width; ++x) {
      if (approximate[x] > limit) continue;
      const double product = ToInteger(of[x]), windowEnergy = scratch.energies[x];
      if (product == lastProduct && windowEnergy == lastEnergy) continue;  // common in flat areas
      lastProduct = product;
      lastEnergy = windowEnergy;
      const double dist = Exact(product, windowEnergy);
      if (dist < row.dist || (dist == row.dist && left + x < row.x)) {
        row.dist = dist;
        row.x = left + x;
      }
    }
  }

  [[nodiscard]] double Exact(double product, double windowEnergy) const {
    const double squared = windowEnergy + energy - 2.0 * product;
    const double most = normed ? std::sqrt(windowEnergy) * norm : norm;
    return squared < most ? squared / most : 1.0;
  }

  // Approximate differences of a row, and their minimum. Lanes and rest compute the same values.
  float Approximate(const double* of, int width, float* approximate) const {
    const double* const energies = scratch.energies.data();
    const float root = static_cast<float>(norm);
    const cv::v_float64x2 rounder = cv::v_setall_f64(kRounder), own = cv::v_setall_f64(energy);
    const cv::v_float32x4 one = cv::v_setall_f32(1.0f), roots = cv::v_setall_f32(root);
    cv::v_float32x4 smallest = cv::v_setall_f32(std::numeric_limits<float>::infinity());
    int x = 0;
    if (energy > 0.0 || !normed) {
      for (; x + 4 <= width; x += 4) {
        const cv::v_float64x2 low = cv::v_load(energies + x), high = cv::v_load(energies + x + 2);
        const cv::v_float64x2 p0 = (cv::v_load(of + x) + rounder) - rounder;
        const cv::v_float64x2 p1 = (cv::v_load(of + x + 2) + rounder) - rounder;
        const cv::v_float32x4 squared = cv::v_cvt_f32((low + own) - (p0 + p0), (high + own) - (p1 + p1));
        const cv::v_float32x4 most = normed ? cv::v_sqrt(cv::v_cvt_f32(low, high)) * roots : roots;
        const cv::v_float32x4 difference = cv::v_min(squared / most, one);
        cv::v_store(approximate + x, difference);
        smallest = cv::v_min(smallest, difference);
      }
    }
    float least = cv::v_reduce_min(smallest);
    for (; x < width; ++x) {
      const float squared = static_cast<float>((energies[x] + energy) - 2.0 * ToInteger(of[x]));
      const float most = normed ? std::sqrt(static_cast<float>(energies[x])) * root : root;
      approximate[x] = squared < most ? squared / most : 1.0f;
      least = std::min(least, approximate[x]);
    }
    return least;
  }

  // -- the best of all ------------------------------------------------------------------------------------

  Placement Best() {
    Placement best = BestKnown();
    if (CompareTheRest(best.dist)) best = BestKnown();
    return best;
  }

  [[nodiscard]] Placement BestKnown() const {
    Placement best{{}, kInfinite};
    for (int y = 0; y < placements.height; ++y) {
      const Row& row = map.rows[y];
      if (row.dist < best.dist) best = {{row.x, y}, row.dist};
    }
    return best;
  }

  // Compares exactly those placements that were only approximated and might be as good. Whether there were
  // any.
  bool CompareTheRest(double best) {
    const float limit = static_cast<float>(std::min(best, 1.0)) * (1.0f + kNear);
    cv::Rect area;
    for (int y = 0; y < placements.height; ++y) {
      Row& row = map.rows[y];
      if (row.rest > limit) continue;
      row.rest = std::numeric_limits<float>::infinity();
      const float* const approximate = map.approximate.ptr<float>(y);
      for (int x = 0; x < placements.width; ++x) {
        if (approximate[x] <= limit) {
          area |= cv::Rect(x, y, 1, 1);
        } else {
          row.rest = std::min(row.rest, approximate[x]);
        }
      }
    }
    if (area.empty()) return false;
    SearchArea(area);
    return true;
  }

  const cv::Mat &image, &tmpl;
  TemplateSpectra* const spectra;
  Scratch& scratch;
  const cv::Size placements;
  const double energy;  // the template's
  const bool normed;
  const double norm;  // the template's part of what the squared difference is divided by
  std::optional<DirectProducts> products;
  WindowEnergies windows;
  PlacementMap map;
};

namespace {

// Images of other depths, with the library's rounding, and its errors for two types that do not go together.
Placement SearchByLibrary(const DifferenceInputs& inputs, cv::Mat* shown) {
  const bool normed = inputs.kind == Difference::Normed;
  cv::Mat map;
  cv::matchTemplate(inputs.image, inputs.tmpl, map, normed ? cv::TM_SQDIFF_NORMED : cv::TM_SQDIFF);
  if (!normed) map /= static_cast<double>(inputs.tmpl.total()) * 255.0 * 255.0;
  Placement best;
  cv::minMaxLoc(map, &best.dist, nullptr, &best.loc);
  if (!normed) best.dist = std::clamp(best.dist, 0.0, 1.0);
  if (shown != nullptr) *shown = map;
  return best;
}

}  // namespace

Placement SearchByDifference(const DifferenceInputs& inputs, const KnownPlacements& known, cv::Mat* shown) {
  if (inputs.image.depth() != CV_8U || inputs.image.type() != inputs.tmpl.type()) {
    if (known.map != nullptr) *known.map = PlacementMap();
    return SearchByLibrary(inputs, shown);
  }
  thread_local DifferenceSearch::Scratch scratch;
  const struct Release {
    ~Release() { scratch.ReleaseLarge(); }
  } release;
  return DifferenceSearch(inputs, scratch).Search(known, shown);
}

}  // namespace quillmark
