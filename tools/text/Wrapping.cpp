#include "text/Wrapping.h"

#include <algorithm>
#include <string_view>

namespace quillmark {
namespace {

// The characters of UTF-8 text, each taken to be one column wide.
std::size_t Columns(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

}  // namespace

std::string Wrapped(const std::string& text, std::size_t indent, std::size_t width) {
  constexpr std::size_t minRoom = 20;
  if (width < indent + minRoom) return text;
  std::string wrapped;
  std::size_t column = indent;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(' ', begin + 1), text.size());
    const std::string_view word(text.data() + begin, end - begin);  // with the blank in front
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

}  // namespace quillmark
