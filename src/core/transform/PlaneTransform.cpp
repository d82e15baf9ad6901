#include "core/PlaneTransform.h"

#include <algorithm>
#include <limits>

#include "core/transform/AxisPlan.h"

namespace quillmark {

using transform::Passes;

namespace {

static_assert(sizeof(SpectrumElement) == transform::kElement * sizeof(double));

// In the unit of ElementCost: a call, and a pixel whose spectra do not fit into the second-level cache.
constexpr double kCallCost = 200.0, kMemoryCost = 2.4, kCachedPixels = 1e5;

// The lengths worth considering: the next ones, up to a quarter more.
std::vector<int> Candidates(int atLeast) {
  std::vector<int> lengths;
  for (int length = std::max(atLeast, 1); lengths.empty() || length <= atLeast + atLeast / 4; ++length) {
    if (transform::HasTransform(length)) lengths.push_back(length);
  }
  return lengths;
}

int RoundUp(int value, int step) {
  return (value + step - 1) / step * step;
}

int KeptFrequencies(int length) {
  return length / 2 + 1;
}

const Passes& PassesFor(PlaneTransform::Instructions instructions) {
  return instructions == PlaneTransform::Instructions::Avx2 ? transform::kAvx2Passes
                                                            : transform::kBaselinePasses;
}

transform::PixelType PixelTypeOf(const cv::Mat& plane) {
  switch (plane.type()) {
    case CV_8UC1:
      return transform::PixelType::Byte;
    case CV_32FC1:
      return transform::PixelType::Float;
    default:
      CV_CheckTypeEQ(plane.type(), CV_64FC1, "plane");
      return transform::PixelType::Double;
  }
}

double* Doubles(Spectrum& spectrum) {
  return reinterpret_cast<double*>(spectrum.data());
}

const double* Doubles(const Spectrum& spectrum) {
  return reinterpret_cast<const double*>(spectrum.data());
}

}  // namespace

struct PlaneTransform::Plan {
  Plan(cv::Size padded, const Passes& p)
      : passes(p),
        down(padded.height),
        across(padded.width),
        layout{down.View(), across.View(), KeptFrequencies(padded.height),
               RoundUp(KeptFrequencies(padded.height), transform::kLanes) / transform::kLanes,
               static_cast<std::size_t>(RoundUp(padded.width, transform::kColumns)) * transform::kElement} {}

  const Passes& passes;
  transform::AxisPlan down, across;
  transform::Layout layout;
};

PlaneTransform::PlaneTransform(cv::Size padded, Instructions instructions) {
  CV_Assert(transform::HasTransform(padded.width) && transform::HasTransform(padded.height));
  CV_Assert(instructions <= Fastest());
  plan_ = std::make_shared<const Plan>(padded, PassesFor(instructions));
}

PlaneTransform::Instructions PlaneTransform::Fastest() {
  const bool avx2 = cv::checkHardwareSupport(CV_CPU_AVX2) && cv::checkHardwareSupport(CV_CPU_FMA3);
  return avx2 ? Instructions::Avx2 : Instructions::Baseline;
}

cv::Size PlaneTransform::PaddedSize(cv::Size atLeast) {
  cv::Size best;
  double cost = std::numeric_limits<double>::max();
  const std::vector<int> heights = Candidates(atLeast.height);
  for (const int width : Candidates(atLeast.width)) {
    for (const int height : heights) {
      const double each = Cost({width, height});
      if (each >= cost) continue;
      cost = each;
      best = {width, height};
    }
  }
  return best;
}

double PlaneTransform::Cost(cv::Size padded) {
  const double down =
      transform::ElementCost(padded.height) * padded.height * RoundUp(padded.width, transform::kColumns);
  const double across = transform::ElementCost(padded.width) * padded.width *
                        RoundUp(KeptFrequencies(padded.height), transform::kLanes);
  return kCallCost + down / 2 + across +
         kMemoryCost * std::max(0.0, 1.0 * padded.width * padded.height - kCachedPixels);
}

std::size_t PlaneTransform::SpectrumSize() const {
  return plan_->layout.rowStep / transform::kElement * plan_->layout.elementRows;
}

void PlaneTransform::Forward(const cv::Mat& plane, Spectrum& spectrum) const {
  const transform::Layout& layout = plan_->layout;
  CV_Assert(plane.cols <= layout.across.length && plane.rows <= layout.down.length);
  const transform::Pixels pixels{plane.data, plane.step, plane.cols, plane.rows, PixelTypeOf(plane)};
  spectrum.resize(SpectrumSize());
  Spectrum column(layout.down.length);
  plan_->passes.forward(layout, pixels, Doubles(column), Doubles(spectrum));
}

void PlaneTransform::MultiplyConjugate(const Spectrum& image, const Spectrum& tmpl, Spectrum& product,
                                       bool accumulate, Instructions instructions) {
  CV_Assert(instructions <= Fastest());
  CV_Assert(image.size() == tmpl.size() && (!accumulate || product.size() == image.size()));
  product.resize(image.size());
  PassesFor(instructions)
      .multiplyConjugate(Doubles(image), Doubles(tmpl), Doubles(product), image.size(), accumulate);
}

void PlaneTransform::Inverse(Spectrum& product, cv::Mat& plane) const {
  const transform::Layout& layout = plan_->layout;
  CV_CheckTypeEQ(plane.type(), CV_64FC1, "plane");
  CV_Assert(plane.cols <= layout.across.length && plane.rows <= layout.down.length);
  CV_Assert(product.size() == SpectrumSize());
  // A forward transform doubles, the product of two is four times what it stands for.
  const double scale = 0.25 / layout.across.length / layout.down.length;
  Spectrum column(layout.down.length);
  plan_->passes.inverse(layout, Doubles(product), Doubles(column),
                        {plane.ptr<double>(), plane.step1(), plane.cols, plane.rows, scale});
}

}  // namespace quillmark
