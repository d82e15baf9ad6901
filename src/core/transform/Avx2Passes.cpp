// The passes for processors with AVX2 and FMA: four lanes.
#include <immintrin.h>

#include "core/transform/PassesOver.h"

namespace quillmark::transform {
namespace {

struct Vector {
  static constexpr int kLanes = 4;
  __m256d v;

  static Vector Load(const double* from) { return {_mm256_loadu_pd(from)}; }
  static Vector Broadcast(const double* from) { return {_mm256_broadcast_sd(from)}; }
  static Vector FromPixels(const unsigned char* from) {
    int bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return {_mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes)))};
  }
  static Vector FromPixels(const float* from) { return {_mm256_cvtps_pd(_mm_loadu_ps(from))}; }
  static Vector FromPixels(const double* from) { return Load(from); }
  void Store(double* to) const { _mm256_storeu_pd(to, v); }
  static void Transpose(Vector* lines) {
    const __m256d low01 = _mm256_unpacklo_pd(lines[0].v, lines[1].v);
    const __m256d high01 = _mm256_unpackhi_pd(lines[0].v, lines[1].v);
    const __m256d low23 = _mm256_unpacklo_pd(lines[2].v, lines[3].v);
    const __m256d high23 = _mm256_unpackhi_pd(lines[2].v, lines[3].v);
    lines[0].v = _mm256_permute2f128_pd(low01, low23, 0x20);
    lines[1].v = _mm256_permute2f128_pd(high01, high23, 0x20);
    lines[2].v = _mm256_permute2f128_pd(low01, low23, 0x31);
    lines[3].v = _mm256_permute2f128_pd(high01, high23, 0x31);
  }
};

Vector operator+(Vector a, Vector b) {
  return {_mm256_add_pd(a.v, b.v)};
}
Vector operator-(Vector a, Vector b) {
  return {_mm256_sub_pd(a.v, b.v)};
}
Vector operator*(Vector a, Vector b) {
  return {_mm256_mul_pd(a.v, b.v)};
}
Vector AddProduct(Vector sum, Vector a, Vector b) {
  return {_mm256_fmadd_pd(a.v, b.v, sum.v)};
}
Vector SubtractProduct(Vector from, Vector a, Vector b) {
  return {_mm256_fnmadd_pd(a.v, b.v, from.v)};
}

}  // namespace

constinit const Passes kAvx2Passes = PassesOver<Vector>();

}  // namespace quillmark::transform
