// Figures as text: as few digits as say something, and never so few that a figure looks equal to a limit that
// it is not equal to.
//
// Threading: free functions without state.
#pragma once

#include <string>

namespace quillmark {

// With so many significant digits, without trailing zeros.
[[nodiscard]] std::string Digits(double value, int significant = 3);

struct TwoNumbers {
  std::string first, second;
};
// Both with the digits that tell them apart.
[[nodiscard]] TwoNumbers DigitsOf(double first, double second);

}  // namespace quillmark
