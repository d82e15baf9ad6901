// The stages of a one-dimensional transform of four complex numbers at a time. A vector is one, two or four
// lanes, a type of the including source file.
//
// The forward stages decimate in frequency, the inverse ones in time, in the opposite order. An inverse stage
// is a forward one with real and imaginary parts exchanged.
#pragma once

#include "core/transform/Passes.h"

namespace quillmark::transform {

enum class Direction { Forward, Inverse };

// Elements of a transform that stay in the first-level cache from stage to stage.
constexpr int kCachedElements = 512;

template <class V>
struct Complex {
  V re, im;
};

template <class V>
Complex<V> operator+(Complex<V> a, Complex<V> b) {
  return {a.re + b.re, a.im + b.im};
}

template <class V>
Complex<V> operator-(Complex<V> a, Complex<V> b) {
  return {a.re - b.re, a.im - b.im};
}

template <class V>
Complex<V> operator*(V factor, Complex<V> a) {
  return {factor * a.re, factor * a.im};
}

// sum + factor * a
template <class V>
Complex<V> AddProduct(Complex<V> sum, V factor, Complex<V> a) {
  return {AddProduct(sum.re, factor, a.re), AddProduct(sum.im, factor, a.im)};
}

// from - factor * a
template <class V>
Complex<V> SubtractProduct(Complex<V> from, V factor, Complex<V> a) {
  return {SubtractProduct(from.re, factor, a.re), SubtractProduct(from.im, factor, a.im)};
}

// a + i b
template <class V>
Complex<V> AddTurned(Complex<V> a, Complex<V> b) {
  return {a.re - b.im, a.im + b.re};
}

// a - i b
template <class V>
Complex<V> SubtractTurned(Complex<V> a, Complex<V> b) {
  return {a.re + b.im, a.im - b.re};
}

template <class V>
Complex<V> Multiply(Complex<V> a, const double* factor) {
  const V re = V::Broadcast(factor), im = V::Broadcast(factor + 1);
  return {SubtractProduct(a.re * re, a.im, im), AddProduct(a.im * re, a.re, im)};
}

template <class V, int Radix>
struct Butterfly;

template <class V>
struct Butterfly<V, 2> {
  static void Apply(Complex<V>* z) {
    const Complex<V> sum = z[0] + z[1];
    z[1] = z[0] - z[1];
    z[0] = sum;
  }
};

template <class V>
struct Butterfly<V, 3> {
  static void Apply(Complex<V>* z) {
    static constexpr double kCos = -0.5, kSin = 0.86602540378443864676;
    const Complex<V> sum = z[1] + z[2], turned = V::Broadcast(&kSin) * (z[1] - z[2]);
    const Complex<V> middle = AddProduct(z[0], V::Broadcast(&kCos), sum);
    z[0] = z[0] + sum;
    z[1] = SubtractTurned(middle, turned);
    z[2] = AddTurned(middle, turned);
  }
};

template <class V>
struct Butterfly<V, 4> {
  static void Apply(Complex<V>* z) {
    const Complex<V> even = z[0] + z[2], evenLess = z[0] - z[2];
    const Complex<V> odd = z[1] + z[3], oddLess = z[1] - z[3];
    z[0] = even + odd;
    z[1] = SubtractTurned(evenLess, oddLess);
    z[2] = even - odd;
    z[3] = AddTurned(evenLess, oddLess);
  }
};

template <class V>
struct Butterfly<V, 5> {
  static void Apply(Complex<V>* z) {
    static constexpr double kCos1 = 0.30901699437494742410, kCos2 = -0.80901699437494742410;
    static constexpr double kSin1 = 0.95105651629515357212, kSin2 = 0.58778525229247312917;
    const V cos1 = V::Broadcast(&kCos1), cos2 = V::Broadcast(&kCos2);
    const V sin1 = V::Broadcast(&kSin1), sin2 = V::Broadcast(&kSin2);
    const Complex<V> outer = z[1] + z[4], outerLess = z[1] - z[4];
    const Complex<V> inner = z[2] + z[3], innerLess = z[2] - z[3];
    const Complex<V> middle1 = AddProduct(AddProduct(z[0], cos1, outer), cos2, inner);
    const Complex<V> middle2 = AddProduct(AddProduct(z[0], cos2, outer), cos1, inner);
    const Complex<V> turned1 = AddProduct(sin1 * outerLess, sin2, innerLess);
    const Complex<V> turned2 = SubtractProduct(sin2 * outerLess, sin1, innerLess);
    z[0] = z[0] + outer + inner;
    z[1] = SubtractTurned(middle1, turned1);
    z[2] = SubtractTurned(middle2, turned2);
    z[3] = AddTurned(middle2, turned2);
    z[4] = AddTurned(middle1, turned1);
  }
};

template <class V>
struct Butterfly<V, 8> {
  static void Apply(Complex<V>* z) {
    static constexpr double kRoot = 0.70710678118654752440;
    const V root = V::Broadcast(&kRoot);
    Complex<V> even[] = {z[0], z[2], z[4], z[6]}, odd[] = {z[1], z[3], z[5], z[7]};
    Butterfly<V, 4>::Apply(even);
    Butterfly<V, 4>::Apply(odd);
    odd[1] = root * SubtractTurned(odd[1], odd[1]);
    odd[3] = root * AddTurned(odd[3], odd[3]);
    z[0] = even[0] + odd[0];
    z[1] = even[1] + odd[1];
    z[2] = SubtractTurned(even[2], odd[2]);
    z[3] = even[3] - odd[3];
    z[4] = even[0] - odd[0];
    z[5] = even[1] - odd[1];
    z[6] = AddTurned(even[2], odd[2]);
    z[7] = even[3] + odd[3];
  }
};

template <class V, Direction D, int Radix, bool Twiddled>
void RunStage(double* data, int span, int blocks, const double* twiddles) {
  constexpr int kRe = D == Direction::Forward ? 0 : kLanes, kIm = kLanes - kRe;
  const int stride = span * kElement;
  for (int block = 0; block < blocks; ++block, data += (Radix - 1) * stride) {
    const double* twiddle = twiddles;
    for (int place = 0; place < span; ++place, data += kElement) {
      for (int lane = 0; lane < kLanes; lane += V::kLanes) {
        Complex<V> z[Radix];
        for (int i = 0; i < Radix; ++i) {
          const double* const from = data + i * stride + lane;
          z[i] = {V::Load(from + kRe), V::Load(from + kIm)};
          if (Twiddled && D == Direction::Inverse && i > 0) z[i] = Multiply(z[i], twiddle + 2 * (i - 1));
        }
        Butterfly<V, Radix>::Apply(z);
        for (int i = 0; i < Radix; ++i) {
          if (Twiddled && D == Direction::Forward && i > 0) z[i] = Multiply(z[i], twiddle + 2 * (i - 1));
          double* const to = data + i * stride + lane;
          z[i].re.Store(to + kRe);
          z[i].im.Store(to + kIm);
        }
      }
      if (Twiddled) twiddle += 2 * (Radix - 1);
    }
  }
}

template <class V, Direction D, int Radix>
void RunStage(double* data, const Stage& stage, int blocks) {
  if (stage.span > 1) {
    RunStage<V, D, Radix, true>(data, stage.span, blocks, stage.twiddles);
  } else {
    RunStage<V, D, Radix, false>(data, stage.span, blocks, stage.twiddles);
  }
}

template <class V, Direction D>
void RunStage(double* data, const Stage& stage, int blocks) {
  switch (stage.radix) {
    case 2:
      return RunStage<V, D, 2>(data, stage, blocks);
    case 3:
      return RunStage<V, D, 3>(data, stage, blocks);
    case 4:
      return RunStage<V, D, 4>(data, stage, blocks);
    case 5:
      return RunStage<V, D, 5>(data, stage, blocks);
    case 8:
      return RunStage<V, D, 8>(data, stage, blocks);
  }
}

// Transforms `length` elements in place, `stages` being those that remain.
template <class V, Direction D>
void Transform(double* data, int length, const Stage* stages, int stageCount) {
  if (stageCount == 0) return;
  if (length <= kCachedElements) {
    int blocks[32] = {1};
    for (int s = 1; s < stageCount; ++s) blocks[s] = blocks[s - 1] * stages[s - 1].radix;
    for (int s = 0; s < stageCount; ++s) {
      const int next = D == Direction::Forward ? s : stageCount - 1 - s;
      RunStage<V, D>(data, stages[next], blocks[next]);
    }
    return;
  }
  const auto parts = [&] {
    for (int part = 0; part < stages->radix; ++part) {
      Transform<V, D>(data + part * stages->span * kElement, stages->span, stages + 1, stageCount - 1);
    }
  };
  if (D == Direction::Inverse) parts();
  RunStage<V, D>(data, *stages, 1);
  if (D == Direction::Forward) parts();
}

}  // namespace quillmark::transform
