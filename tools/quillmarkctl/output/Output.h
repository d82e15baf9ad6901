// The tool's output: text, coloured on a terminal, or one JSON object per line. Results go to standard
// output; errors and notes go to standard error in text mode. On a terminal, a progress line is shown below.
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

// Keeps the order of its fields.
using Json = nlohmann::ordered_json;

enum class Style { Good, Doubtful, Bad, Quiet };

class Output {
 public:
  Output(bool asJson, const std::string& command);

  [[nodiscard]] bool IsJson() const { return json; }

  // The progress line; it gives way to whatever is printed.
  [[nodiscard]] Progress& Bar() { return bar; }

  // One result: the object as a line, or the text.
  void Print(const Json& object, const std::string& text);
  // An empty line between two results in text mode.
  void Blank();
  // Additional information.
  void Note(const std::string& text);
  // Prints why the command fails and returns the code.
  ExitCode Fail(ExitCode code, const std::string& text);

  // The text, coloured on a terminal unless NO_COLOR is set.
  [[nodiscard]] std::string Styled(Style style, const std::string& text) const;
  // The terminal's width in characters, 0 without one.
  [[nodiscard]] std::size_t Width() const { return width; }
  // The text wrapped to the terminal's width, each line but the first indented by `indent` blanks; unchanged
  // without a terminal.
  [[nodiscard]] std::string Wrapped(const std::string& text, std::size_t indent) const;

 private:
  // Prints a line on standard error.
  void PrintError(const std::string& text);

  bool json;
  bool colour;
  std::size_t width;
  Progress bar;
};

}  // namespace quillmark::control
