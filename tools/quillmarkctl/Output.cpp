#include "Output.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string_view>

#include "host/Terminal.h"

namespace quillmark::control {

namespace {

// Characters of UTF-8 text, which are taken to be as wide as one column each.
std::size_t Columns(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

}  // namespace

Output::Output(bool asJson) : json(asJson), colour(false), width(0) {
  if (json || !host::IsTerminal(host::Stream::Out)) return;
  const char* const refused = std::getenv("NO_COLOR");
  colour = refused == nullptr || *refused == '\0';
  width = static_cast<std::size_t>(host::TerminalWidth());
}

void Output::Print(const Json& object, const std::string& text) {
  // Bytes that are no UTF-8 become U+FFFD.
  std::cout << (json ? object.dump(-1, ' ', false, Json::error_handler_t::replace) : text) << '\n';
  if (!std::cout.flush()) throw std::runtime_error("the output cannot be written");
}

void Output::Blank() {
  if (!json) std::cout << '\n';
}

void Output::Note(const std::string& text) {
  if (json) return Print({{"type", "note"}, {"text", text}}, {});
  std::cerr << "quillmarkctl: " << text << std::endl;
}

ExitCode Output::Fail(ExitCode code, const std::string& text) {
  if (json && std::cout) {
    Print({{"type", "error"}, {"code", static_cast<int>(code)}, {"text", text}}, {});
  } else {
    std::cerr << "quillmarkctl: " << text << std::endl;
  }
  return code;
}

std::string Output::Styled(Style style, const std::string& text) const {
  if (!colour) return text;
  const char* code = "2";
  if (style == Style::Good) code = "32";
  if (style == Style::Doubtful) code = "33";
  if (style == Style::Bad) code = "1;31";
  return std::string("\033[") + code + "m" + text + "\033[0m";
}

std::string Output::Wrapped(const std::string& text, std::size_t indent) const {
  constexpr std::size_t least = 20;
  if (width < indent + least) return text;
  std::string wrapped;
  std::size_t column = indent;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(' ', begin + 1), text.size());
    const std::string_view word(text.data() + begin, end - begin);  // with the blank before it
    const std::size_t columns = Columns(word);
    if (column + columns > width && word.front() == ' ') {
      wrapped += '\n' + std::string(indent, ' ') + std::string(word.substr(1));
      column = indent + columns - 1;
    } else {
      wrapped += word;
      column += columns;
    }
    begin = end;
  }
  return wrapped;
}

}  // namespace quillmark::control
