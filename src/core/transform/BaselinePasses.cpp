// The passes for every processor: two lanes of SSE2 where that is the baseline, else one.
#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

#include "core/transform/PassesOver.h"

namespace quillmark::transform {
namespace {

#if defined(__SSE2__) || defined(_M_X64)

struct Vector {
  static constexpr int kLanes = 2;
  __m128d v;

  static Vector Load(const double* from) { return {_mm_loadu_pd(from)}; }
  static Vector Broadcast(const double* from) { return {_mm_set1_pd(*from)}; }
  template <class Pixel>
  static Vector FromPixels(const Pixel* from) {
    return {_mm_set_pd(static_cast<double>(from[1]), static_cast<double>(from[0]))};
  }
  void Store(double* to) const { _mm_storeu_pd(to, v); }
  static void Transpose(Vector* lines) {
    const __m128d low = _mm_unpacklo_pd(lines[0].v, lines[1].v);
    lines[1].v = _mm_unpackhi_pd(lines[0].v, lines[1].v);
    lines[0].v = low;
  }
};

Vector operator+(Vector a, Vector b) {
  return {_mm_add_pd(a.v, b.v)};
}
Vector operator-(Vector a, Vector b) {
  return {_mm_sub_pd(a.v, b.v)};
}
Vector operator*(Vector a, Vector b) {
  return {_mm_mul_pd(a.v, b.v)};
}

#else

struct Vector {
  static constexpr int kLanes = 1;
  double v;

  static Vector Load(const double* from) { return {*from}; }
  static Vector Broadcast(const double* from) { return {*from}; }
  template <class Pixel>
  static Vector FromPixels(const Pixel* from) {
    return {static_cast<double>(*from)};
  }
  void Store(double* to) const { *to = v; }
  static void Transpose(Vector*) {}
};

Vector operator+(Vector a, Vector b) {
  return {a.v + b.v};
}
Vector operator-(Vector a, Vector b) {
  return {a.v - b.v};
}
Vector operator*(Vector a, Vector b) {
  return {a.v * b.v};
}

#endif

Vector AddProduct(Vector sum, Vector a, Vector b) {
  return sum + a * b;
}
Vector SubtractProduct(Vector from, Vector a, Vector b) {
  return from - a * b;
}

}  // namespace

constinit const Passes kBaselinePasses = PassesOver<Vector>();

}  // namespace quillmark::transform
