// The two-dimensional Fourier transform of real planes, in double precision: the correlation of an image with
// a template is the inverse transform of a product of their spectra.
//
// Columns are transformed first, eight at a time: four as real parts and four as imaginary parts of four
// columns of complex numbers. What the two halves share by symmetry is then taken apart, which leaves half
// the rows. Those are transformed four at a time, so that every step works on four adjacent lanes, and an
// element, four complex numbers, fills a cache line. Elements keep the order in which the forward transform
// leaves them; the inverse one starts from it. The passes exist for plain x86-64 and for AVX2 with FMA.
//
// The correlation of 8-bit planes is a sum of integers: rounding to the nearest integer makes it exact. The
// error measured before rounding is below 0.001 up to 4096x2304 pixels, all of them 255, whatever the
// template's size.
//
// Threading: immutable after construction, callable from any thread at the same time.
#pragma once

#include <cstddef>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

namespace quillmark {

// Four adjacent complex numbers of a spectrum.
struct alignas(64) SpectrumElement {
  double re[4];
  double im[4];
};
using Spectrum = std::vector<SpectrumElement>;

class PlaneTransform {
 public:
  enum class Instructions { Baseline, Avx2 };

  // `padded` needs both lengths to be products of 2, 3 and 5; raises cv::Exception otherwise, and when the
  // processor lacks the instructions.
  explicit PlaneTransform(cv::Size padded, Instructions instructions = Fastest());

  // The best that this processor has.
  [[nodiscard]] static Instructions Fastest();

  // The cheapest size that is not smaller in either direction.
  [[nodiscard]] static cv::Size PaddedSize(cv::Size atLeast);

  // The relative time that a forward transform and its inverse take.
  [[nodiscard]] static double Cost(cv::Size padded);

  [[nodiscard]] std::size_t SpectrumSize() const;

  // The spectrum of `plane`, 8UC1, 32FC1 or 64FC1, followed by zeros to the right and below up to the padded
  // size.
  void Forward(const cv::Mat& plane, Spectrum& spectrum) const;

  // product = image * conj(tmpl), or the sum of that and what `product` held. `product` may be `image`, which
  // is faster than a buffer of its own.
  static void MultiplyConjugate(const Spectrum& image, const Spectrum& tmpl, Spectrum& product,
                                bool accumulate, Instructions instructions = Fastest());

  // The plane whose spectrum is `product`, a product of two spectra or a sum of such; destroys `product`.
  // `plane` is 64FC1 and gets as much of the top-left corner as it has room for. After MultiplyConjugate that
  // is the correlation with the template's corner at each pixel; where the template would reach beyond the
  // padded size, it reaches into the opposite side.
  void Inverse(Spectrum& product, cv::Mat& plane) const;

 private:
  struct Plan;
  std::shared_ptr<const Plan> plan_;
};

}  // namespace quillmark
