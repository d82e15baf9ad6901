// What a caller asked for and the rings cannot carry as it stands. Nothing is ever cut or bent to fit.
//
// Threading: plain values.
#pragma once

#include <stdexcept>
#include <string>

namespace quillmark::client {

enum class Refusal {
  TooLong,   // a text has more UTF-16 units than its field
  BadText,   // a text is empty, not UTF-8, or holds what cannot stand there
  BadValue,  // a number lies outside its range, or options do not go together
};

class Refused : public std::invalid_argument {
 public:
  // `what` names the argument, `problem` goes on from there.
  Refused(Refusal refusal, const std::string& what, const std::string& problem)
      : std::invalid_argument(what + ' ' + problem), why(refusal) {}
  [[nodiscard]] Refusal Why() const { return why; }

 private:
  Refusal why;
};

}  // namespace quillmark::client
