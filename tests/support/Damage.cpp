#include "support/Damage.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "specs/Utf8.h"

namespace quillmark::testing {
namespace {

using namespace std::string_view_literals;

// Input that readers may get wrong: brackets, invalid text, odd numbers, sizes.
constexpr std::string_view kTokens[] = {"["sv,
                                        "]"sv,
                                        "{"sv,
                                        "}"sv,
                                        ","sv,
                                        ":"sv,
                                        "="sv,
                                        "\""sv,
                                        "\x1B"sv,
                                        "\xFF"sv,
                                        "-1"sv,
                                        "1e999"sv,
                                        "0.5"sv,
                                        "null"sv,
                                        "true"sv,
                                        "\\u0000"sv,
                                        "\\uD800"sv,
                                        "\"t\":1,"sv,
                                        "99999999999999999999"sv,
                                        "\0\0\0\0"sv,
                                        "\x7F\xFF\xFF\xFF"sv,
                                        "\xFF\xFF\xFF\x7F"sv,
                                        "\xFF\xFF\xFF\xFF"sv};

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
  for (int changes = random.Between(1, 3); changes > 0 && !bytes.empty(); --changes) {
    // Half of the time in the header.
    const std::size_t at =
        Below(random, random.OneIn(2) ? std::min<std::size_t>(bytes.size(), 64) : bytes.size());
    const std::string_view token = kTokens[Below(random, std::size(kTokens))];
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
