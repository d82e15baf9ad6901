// Figures as text, with few digits but enough to distinguish a figure from its limit.
//
// Threading: free functions without state.
#pragma once

#include <string>

namespace quillmark {

// Without trailing zeros.
[[nodiscard]] std::string Digits(double value, int significant = 3);

struct TwoNumbers {
  std::string first, second;
};
// Both with enough digits to look different, unless they are equal.
[[nodiscard]] TwoNumbers DigitsOf(double first, double second);

}  // namespace quillmark
