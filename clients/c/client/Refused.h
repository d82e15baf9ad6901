// An argument that the rings cannot carry. Nothing is ever changed to fit.
//
// Threading: plain values.
#pragma once

#include <stdexcept>
#include <string>

namespace quillmark::client {

enum class Refusal {
  TooLong,   // a text does not fit its field
  BadText,   // a text is empty, not UTF-8, or contains something not allowed there
  BadValue,  // a number is out of range, or options cannot be combined
};

class Refused : public std::invalid_argument {
 public:
  // `what` names the argument; `problem` completes the sentence.
  Refused(Refusal refusal, const std::string& what, const std::string& problem)
      : std::invalid_argument(what + ' ' + problem), why(refusal) {}
  [[nodiscard]] Refusal Why() const { return why; }

 private:
  Refusal why;
};

}  // namespace quillmark::client
