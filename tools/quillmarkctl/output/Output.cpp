#include "output/Output.h"

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "host/Terminal.h"
#include "text/Wrapping.h"

namespace quillmark::control {

Output::Output(bool asJson, const std::string& command)
    : json(asJson), colour(false), width(0), bar(command) {
  if (json || !host::IsTerminal(host::Stream::Out)) return;
  const char* const noColour = std::getenv("NO_COLOR");
  colour = noColour == nullptr || *noColour == '\0';
  width = static_cast<std::size_t>(host::TerminalWidth());
}

void Output::Print(const Json& object, const std::string& text) {
  // Invalid UTF-8 becomes U+FFFD.
  bar.Aside([&] {
    std::cout << (json ? object.dump(-1, ' ', false, Json::error_handler_t::replace) : text) << std::endl;
  });
  if (!std::cout) throw std::runtime_error("cannot write the output");
}

void Output::Blank() {
  if (!json) bar.Aside([] { std::cout << '\n'; });
}

void Output::Note(const std::string& text) {
  if (json) return Print({{"type", "note"}, {"text", text}}, {});
  PrintError(text);
}

ExitCode Output::Fail(ExitCode code, const std::string& text) {
  if (json && std::cout) {
    Print({{"type", "error"}, {"code", static_cast<int>(code)}, {"text", text}}, {});
  } else {
    PrintError(text);
  }
  return code;
}

void Output::PrintError(const std::string& text) {
  bar.Aside([&] { std::cerr << "quillmarkctl: " << text << std::endl; });
}

std::string Output::Styled(Style style, const std::string& text) const {
  if (!colour) return text;
  constexpr const char* codes[] = {"32", "33", "1;31", "2"};
  return std::string("\033[") + codes[static_cast<int>(style)] + "m" + text + "\033[0m";
}

std::string Output::Wrapped(const std::string& text, std::size_t indent) const {
  return quillmark::Wrapped(text, indent, width);
}

}  // namespace quillmark::control
