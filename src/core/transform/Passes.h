// The passes of a plane's transform over raw memory. Each instruction set implements them in a source file
// that is compiled for it, so no inline function may be used there: the linker could keep the copy that other
// processors cannot run.
#pragma once

#include <cstddef>

namespace quillmark::transform {

constexpr int kLanes = 4;             // complex numbers of an element
constexpr int kElement = 2 * kLanes;  // doubles of an element: real parts, then imaginary parts
constexpr int kColumns = 2 * kLanes;  // image columns that are transformed at a time

// Butterflies of `radix` elements that are `span` apart.
struct Stage {
  int radix;
  int span;
  const double* twiddles;  // for each place in the span, radix - 1 complex numbers
};

// The one-dimensional transform along one direction.
struct Axis {
  int length;
  int stageCount;
  const Stage* stages;
  const int* positions;  // of each frequency after the forward stages
};

// A spectrum has rows of elements, each for four rows of frequencies: the first half of them and the middle
// one, the others follow by symmetry. What is missing to four repeats row 0. An element row has room for the
// columns, rounded up to a multiple of eight.
struct Layout {
  Axis down;
  Axis across;
  int keptFrequencies;
  int elementRows;
  std::size_t rowStep;  // doubles from row to row
};

enum class PixelType { Byte, Float, Double };

struct Pixels {
  const unsigned char* data;
  std::size_t step;  // bytes from row to row
  int width;
  int height;
  PixelType type;
};

struct Result {
  double* data;
  std::size_t step;  // doubles from row to row
  int width;
  int height;
  double scale;  // factor for every value
};

// `column` is room for an element per image row. It and the spectra start at multiples of 64 bytes.
struct Passes {
  void (*forward)(const Layout& layout, const Pixels& plane, double* column, double* spectrum);
  void (*multiplyConjugate)(const double* image, const double* tmpl, double* product, std::size_t elements,
                            bool accumulate);
  void (*inverse)(const Layout& layout, double* spectrum, double* column, const Result& result);
};

extern const Passes kBaselinePasses;
extern const Passes kAvx2Passes;

}  // namespace quillmark::transform
