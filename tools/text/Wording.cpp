#include "text/Wording.h"

#include <cstdio>
#include <ctime>

namespace quillmark {

std::string Counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

std::string UtcTime(std::uint64_t tsMs) {
  const auto seconds = static_cast<std::time_t>(tsMs / 1000);
  const std::tm* utc = std::gmtime(&seconds);
  char text[32] = "?";
  if (utc != nullptr && std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", utc) > 0) {
    char millis[8];
    std::snprintf(millis, sizeof millis, ".%03u", static_cast<unsigned>(tsMs % 1000));
    return std::string(text) + millis;
  }
  return text;
}

}  // namespace quillmark
