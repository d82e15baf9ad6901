#include "support/Damage.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <vector>

#include "specs/Utf8.h"

namespace quillmark::testing {
namespace {

// Input that readers may get wrong: brackets, invalid text, odd numbers, sizes.
std::vector<std::string> Tokens() {
  std::istringstream words(
      "[ ] { } , : = \" \x1B \xFF -1 1e999 0.5 null true \\u0000 \\uD800 \"t\":1, 99999999999999999999");
  return {std::istream_iterator<std::string>(words), {}};
}

std::size_t Below(Random& random, std::size_t end) {
  return static_cast<std::size_t>(random.Between(0, static_cast<int>(end) - 1));
}

}  // namespace

std::uint32_t Seeds(std::uint32_t usual) {
  const char* const wanted = std::getenv("QUILLMARK_SEEDS");
  return wanted == nullptr ? usual : static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10));
}

bool IsOneLine(const std::string& text) {
  const std::wstring units = FromUtf8(text);
  return text.size() <= 500 &&
         std::ranges::none_of(units, [](wchar_t u) { return u < 0x20 || u == 0x7F || u == 0xFFFD; });
}

std::string Damaged(Random& random, std::string bytes) {
  static const std::vector<std::string> tokens = Tokens();
  for (int changes = random.Between(1, 3); changes > 0 && !bytes.empty(); --changes) {
    // Half of the time in the header.
    const std::size_t at =
        Below(random, random.OneIn(2) ? std::min<std::size_t>(bytes.size(), 64) : bytes.size());
    const std::string& token = tokens[Below(random, tokens.size())];
    const auto length = static_cast<std::size_t>(random.Between(1, 60));
    switch (random.Between(0, 6)) {
      case 0:
        bytes[at] = static_cast<char>(random.Between(0, 255));
        break;
      case 1:
        bytes.replace(at, token.size(), token);
        break;
      case 2:
        bytes.insert(at, token);
        break;
      case 3:
        bytes.erase(at, length);
        break;
      case 4:
        bytes.insert(Below(random, bytes.size()), bytes.substr(at, length));
        break;
      case 5:
        bytes.replace(at, 1, std::to_string(random.Between(-1000, 100'000'000)));
        break;
      default:
        if (random.OneIn(4)) bytes.resize(at);
    }
  }
  return bytes;
}

}  // namespace quillmark::testing
