// The passes of a plane's transform, over a vector type of the including source file.
#pragma once

#include <cstring>

#include "core/transform/Butterflies.h"

namespace quillmark::transform {

// Loads eight columns of pixels as one complex column: the first four are its real parts.
template <class V, class Pixel>
void LoadColumns(const Pixels& plane, int x, double* column) {
  const int count = plane.width - x;
  Pixel edge[kColumns] = {};
  for (int y = 0; y < plane.height; ++y, column += kElement) {
    const Pixel* row = reinterpret_cast<const Pixel*>(plane.data + y * plane.step) + x;
    if (count < kColumns) {
      std::memcpy(edge, row, count * sizeof(Pixel));
      row = edge;
    }
    for (int lane = 0; lane < kColumns; lane += V::kLanes) V::FromPixels(row + lane).Store(column + lane);
  }
}

template <class V>
void LoadColumns(const Axis& down, const Pixels& plane, int x, double* column) {
  switch (plane.type) {
    case PixelType::Byte:
      LoadColumns<V, unsigned char>(plane, x, column);
      break;
    case PixelType::Float:
      LoadColumns<V, float>(plane, x, column);
      break;
    case PixelType::Double:
      LoadColumns<V, double>(plane, x, column);
      break;
  }
  std::memset(column + plane.height * kElement, 0, (down.length - plane.height) * kElement * sizeof(double));
}

template <class V>
void StoreColumns(const double* column, int x, const Result& result) {
  const int count = result.width - x;
  const V scale = V::Broadcast(&result.scale);
  for (int y = 0; y < result.height; ++y, column += kElement) {
    double* const row = result.data + y * result.step + x;
    double edge[kColumns];
    double* const to = count < kColumns ? edge : row;
    for (int lane = 0; lane < kColumns; lane += V::kLanes) {
      (scale * V::Load(column + lane)).Store(to + lane);
    }
    if (count < kColumns) std::memcpy(row, edge, count * sizeof(double));
  }
}

template <class V>
struct Lines {
  V line[V::kLanes];
};

template <class V>
void StoreTransposed(Lines<V> lines, double* to) {
  V::Transpose(lines.line);
  for (int i = 0; i < V::kLanes; ++i) lines.line[i].Store(to + i * kElement);
}

template <class V>
Lines<V> LoadTransposed(const double* from) {
  Lines<V> lines;
  for (int i = 0; i < V::kLanes; ++i) lines.line[i] = V::Load(from + i * kElement);
  V::Transpose(lines.line);
  return lines;
}

// The places of a frequency and of its opposite in a column.
template <class V>
struct Pair {
  Pair(const Layout& layout, int frequency) {
    const int kept = frequency < layout.keptFrequencies ? frequency : 0;
    there = layout.down.positions[kept] * kElement;
    opposite = layout.down.positions[kept > 0 ? layout.down.length - kept : 0] * kElement;
  }
  int there;
  int opposite;
};

// Takes the spectra a and b of two real columns out of the spectrum z of a + i b, both doubled:
// a(k) = z(k) + conj(z(-k)), i b(k) = z(k) - conj(z(-k)).
template <class V>
void Separate(const Layout& layout, const double* column, double* spectrum) {
  for (int row = 0; row < layout.elementRows; ++row, spectrum += layout.rowStep) {
    for (int k = 0; k < kLanes; k += V::kLanes) {
      const double *there[V::kLanes], *opposite[V::kLanes];
      for (int i = 0; i < V::kLanes; ++i) {
        const Pair<V> pair(layout, row * kLanes + k + i);
        there[i] = column + pair.there;
        opposite[i] = column + pair.opposite;
      }
      for (int lane = 0; lane < kLanes; lane += V::kLanes) {
        Lines<V> aRe, aIm, bRe, bIm;
        for (int i = 0; i < V::kLanes; ++i) {
          const V re = V::Load(there[i] + lane), oppositeRe = V::Load(opposite[i] + lane);
          aRe.line[i] = re + oppositeRe;
          bIm.line[i] = oppositeRe - re;
        }
        double* const a = spectrum + lane * kElement + k;
        double* const b = a + kLanes * kElement;
        StoreTransposed(aRe, a);
        StoreTransposed(bIm, b + kLanes);
        for (int i = 0; i < V::kLanes; ++i) {
          const V im = V::Load(there[i] + kLanes + lane), oppositeIm = V::Load(opposite[i] + kLanes + lane);
          aIm.line[i] = im - oppositeIm;
          bRe.line[i] = im + oppositeIm;
        }
        StoreTransposed(aIm, a + kLanes);
        StoreTransposed(bRe, b);
      }
    }
  }
}

// The spectrum of a + i b from those of two real columns a and b.
template <class V>
void Join(const Layout& layout, const double* spectrum, double* column) {
  for (int row = 0; row < layout.elementRows; ++row, spectrum += layout.rowStep) {
    for (int k = 0; k < kLanes; k += V::kLanes) {
      double *there[V::kLanes], *opposite[V::kLanes];
      for (int i = 0; i < V::kLanes; ++i) {
        const Pair<V> pair(layout, row * kLanes + k + i);
        there[i] = column + pair.there;
        opposite[i] = column + pair.opposite;
      }
      for (int lane = 0; lane < kLanes; lane += V::kLanes) {
        const double* const a = spectrum + lane * kElement + k;
        const double* const b = a + kLanes * kElement;
        const Lines<V> aRe = LoadTransposed<V>(a), bIm = LoadTransposed<V>(b + kLanes);
        for (int i = 0; i < V::kLanes; ++i) {
          (aRe.line[i] - bIm.line[i]).Store(there[i] + lane);
          (aRe.line[i] + bIm.line[i]).Store(opposite[i] + lane);
        }
        const Lines<V> aIm = LoadTransposed<V>(a + kLanes), bRe = LoadTransposed<V>(b);
        for (int i = 0; i < V::kLanes; ++i) {
          (bRe.line[i] + aIm.line[i]).Store(there[i] + kLanes + lane);
          (bRe.line[i] - aIm.line[i]).Store(opposite[i] + kLanes + lane);
        }
      }
    }
  }
}

template <class V, Direction D>
void Transform(double* data, const Axis& axis) {
  Transform<V, D>(data, axis.length, axis.stages, axis.stageCount);
}

template <class V>
void Forward(const Layout& layout, const Pixels& plane, double* column, double* spectrum) {
  int x = 0;
  for (; x < plane.width; x += kColumns) {
    LoadColumns<V>(layout.down, plane, x, column);
    Transform<V, Direction::Forward>(column, layout.down);
    Separate<V>(layout, column, spectrum + x * kElement);
  }
  const std::size_t done = static_cast<std::size_t>(x) * kElement;
  for (int row = 0; row < layout.elementRows; ++row, spectrum += layout.rowStep) {
    std::memset(spectrum + done, 0, (layout.rowStep - done) * sizeof(double));
    Transform<V, Direction::Forward>(spectrum, layout.across);
  }
}

template <class V>
void Inverse(const Layout& layout, double* spectrum, double* column, const Result& result) {
  for (int row = 0; row < layout.elementRows; ++row) {
    Transform<V, Direction::Inverse>(spectrum + row * layout.rowStep, layout.across);
  }
  for (int x = 0; x < result.width; x += kColumns) {
    Join<V>(layout, spectrum + x * kElement, column);
    Transform<V, Direction::Inverse>(column, layout.down);
    StoreColumns<V>(column, x, result);
  }
}

template <class V>
void MultiplyConjugate(const double* image, const double* tmpl, double* product, std::size_t elements,
                       bool accumulate) {
  for (std::size_t i = 0; i < elements * kElement; i += kElement) {
    for (int lane = 0; lane < kLanes; lane += V::kLanes) {
      const V aRe = V::Load(image + i + lane), aIm = V::Load(image + i + lane + kLanes);
      const V bRe = V::Load(tmpl + i + lane), bIm = V::Load(tmpl + i + lane + kLanes);
      V re = AddProduct(aRe * bRe, aIm, bIm), im = SubtractProduct(aIm * bRe, aRe, bIm);
      double* const to = product + i + lane;
      if (accumulate) {
        re = re + V::Load(to);
        im = im + V::Load(to + kLanes);
      }
      re.Store(to);
      im.Store(to + kLanes);
    }
  }
}

template <class V>
constexpr Passes PassesOver() {
  return {&Forward<V>, &MultiplyConjugate<V>, &Inverse<V>};
}

}  // namespace quillmark::transform
