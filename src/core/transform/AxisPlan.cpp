#include "core/transform/AxisPlan.h"

#include <cmath>
#include <numbers>

namespace quillmark::transform {
namespace {

// What an element costs in a stage of a radix, and to be loaded, taken apart and stored: nanoseconds both
// ways, fitted to squares of 40 to 1024 pixels with AVX2.
struct RadixCost {
  int radix;
  double cost;
};
constexpr RadixCost kEight{8, 0.52};
constexpr RadixCost kRadices[] = {{4, 0.41}, {2, 0.33}, {3, 0.45}, {5, 0.56}};
constexpr double kMovingCost = 0.9;

// The stages of a length; what is left of it without them is 1, or has other prime factors.
struct Factors {
  std::vector<int> radices;
  double cost;
  int rest;

  void TakeOut(RadixCost radix) {
    radices.push_back(radix.radix);
    cost += radix.cost;
    rest /= radix.radix;
  }
};

bool IsOddPowerOfTwo(int powerOfTwo) {
  return (powerOfTwo & 0x2AAAAAAA) != 0;
}

Factors Factorise(int length) {
  Factors factors{{}, kMovingCost, length};
  if (length <= 0) return factors;
  // One stage of 8 is cheaper than one of 4 and one of 2.
  if (length % 8 == 0 && IsOddPowerOfTwo(length & -length)) factors.TakeOut(kEight);
  for (const RadixCost& each : kRadices) {
    while (factors.rest % each.radix == 0) factors.TakeOut(each);
  }
  return factors;
}

std::vector<double> Twiddles(int radix, int span) {
  std::vector<double> twiddles;
  for (int place = 0; place < span; ++place) {
    for (int i = 1; i < radix; ++i) {
      const double angle = -2.0 * std::numbers::pi * (i * place) / (radix * span);
      twiddles.push_back(std::cos(angle));
      twiddles.push_back(std::sin(angle));
    }
  }
  return twiddles;
}

// Each stage sorts the frequencies by their remainder.
int Position(int frequency, const std::vector<Stage>& stages) {
  int position = 0;
  for (const Stage& stage : stages) {
    position += frequency % stage.radix * stage.span;
    frequency /= stage.radix;
  }
  return position;
}

}  // namespace

bool HasTransform(int length) {
  return Factorise(length).rest == 1;
}

double ElementCost(int length) {
  return Factorise(length).cost;
}

AxisPlan::AxisPlan(int length) : positions_(length) {
  int span = length;
  for (const int radix : Factorise(length).radices) {
    span /= radix;
    twiddles_.push_back(Twiddles(radix, span));
    stages_.push_back({radix, span, twiddles_.back().data()});
  }
  for (int frequency = 0; frequency < length; ++frequency) {
    positions_[frequency] = Position(frequency, stages_);
  }
}

Axis AxisPlan::View() const {
  return {static_cast<int>(positions_.size()), static_cast<int>(stages_.size()), stages_.data(),
          positions_.data()};
}

}  // namespace quillmark::transform
