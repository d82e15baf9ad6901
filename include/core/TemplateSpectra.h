// The spectra of one template's planes at the padded sizes that its latest searches used.
//
// A search transforms each plane of the region, of the template, and the product back, so keeping the
// template's spectra saves up to half of its time. They are kept from the second search of a size on: a
// region that does not change is searched once. Copies of a spec share them.
//
// Threading: callable from any thread at the same time.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <opencv2/core.hpp>
#include <vector>

#include "core/PlaneTransform.h"

namespace quillmark {

struct TransformedTemplate {
  explicit TransformedTemplate(cv::Size size) : padded(size), transform(size) {}
  [[nodiscard]] std::size_t Bytes() const;

  cv::Mat tmpl;  // what was transformed
  cv::Size padded;
  PlaneTransform transform;
  std::vector<Spectrum> planes;
};

class TemplateSpectra {
 public:
  // Four grey regions of 400x300, one in colour, or dozens of changed areas. Larger regions are searched in
  // blocks of about this many pixels, and transforming the template once for all of them costs little.
  static constexpr std::size_t kBudget = std::size_t{4} << 20;
  // Sizes that were used once and are not forgotten: those of whole searches and of some changed areas.
  static constexpr std::size_t kSizes = 16;

  using SplitPlanes = std::function<std::vector<cv::Mat>()>;

  // The spectra of `tmpl`; without `kept` nothing is remembered. `planes` is called when they must be made.
  static std::shared_ptr<const TransformedTemplate> Of(const cv::Mat& tmpl, cv::Size padded,
                                                       TemplateSpectra* kept, const SplitPlanes& planes);

 private:
  [[nodiscard]] std::shared_ptr<const TransformedTemplate> Find(const cv::Mat& tmpl, cv::Size padded);
  void Keep(const std::shared_ptr<const TransformedTemplate>& made);

  std::mutex mutex;                                                // guards the rest
  std::vector<std::shared_ptr<const TransformedTemplate>> latest;  // the last used first
  std::deque<cv::Size> usedOnce;                                   // the latest last
};

}  // namespace quillmark
