// What the tool prints: text for people, with colour on a terminal only, or one JSON object a line. Results
// go to standard output, in text form errors and notes to standard error. While the command works, a terminal
// shows its progress below.
//
// Threading: one thread.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "output/Progress.h"

namespace quillmark::control {

// The process's exit codes.
enum ExitCode : int { Yes = 0, No = 1, Error = 2 };

// Keeps its fields in the order they were given.
using Json = nlohmann::ordered_json;

enum class Style { Good, Doubtful, Bad, Quiet };

class Output {
 public:
  // Of this command.
  Output(bool asJson, const std::string& command);

  [[nodiscard]] bool IsJson() const { return json; }

  // What the terminal shows of the work; it makes way for whatever is printed.
  [[nodiscard]] Progress& Bar() { return bar; }

  // One result: the object as a line, or the text that says the same to people.
  void Print(const Json& object, const std::string& text);
  // An empty line between two results, for people.
  void Blank();
  // What happened beside the result.
  void Note(const std::string& text);
  // Why the command ends with this code, which is returned.
  ExitCode Fail(ExitCode code, const std::string& text);

  // The text in a colour where people read it on a terminal and NO_COLOR is not set, else as it is.
  [[nodiscard]] std::string Styled(Style style, const std::string& text) const;
  // Of the terminal in characters, 0 without one.
  [[nodiscard]] std::size_t Width() const { return width; }
  // The text with its lines broken between words to the terminal's width, all but the first begun with
  // `indent` blanks. As it is where no terminal reads it.
  [[nodiscard]] std::string Wrapped(const std::string& text, std::size_t indent) const;

 private:
  // A line on standard error.
  void Tell(const std::string& text);

  bool json;
  bool colour;
  std::size_t width;
  Progress bar;
};

}  // namespace quillmark::control
