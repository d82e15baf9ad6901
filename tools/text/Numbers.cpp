#include "text/Numbers.h"

#include <cmath>
#include <cstdio>

namespace quillmark {

std::string Digits(double value, int significant) {
  // Rounding errors around 0 are shown only when every digit is asked for.
  if (significant <= 6 && std::abs(value) < 1e-6) value = 0.0;
  char text[64];
  std::snprintf(text, sizeof text, "%.*g", significant, value);
  const bool large = std::abs(value) >= 1.0, hasExponent = std::string(text).find('e') != std::string::npos;
  if (hasExponent && (large || significant <= 6)) {
    std::snprintf(text, sizeof text, large ? "%.0f" : "%.6f", value);
  }
  return text;
}

TwoNumbers DigitsOf(double first, double second) {
  TwoNumbers texts;
  for (int significant = 3; significant <= 17; ++significant) {
    texts = {Digits(first, significant), Digits(second, significant)};
    if (first == second || texts.first != texts.second) break;
  }
  return texts;
}

}  // namespace quillmark
