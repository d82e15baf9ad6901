#include "Output.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

#include "Text.h"

namespace quillmark::control {
namespace {

using Json = nlohmann::ordered_json;

// A float's six significant decimals, without the tail that widening to double would show.
double Rounded(float value) {
  return std::round(static_cast<double>(value) * 1e6) / 1e6;
}

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
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

std::string Printable(std::wstring text) {
  for (wchar_t& unit : text) {
    if (unit < 0x20 || unit == 0x7F) unit = L'?';
  }
  return ToUtf8(text);
}

}  // namespace

std::string JsonLine(const Hit& hit) {
  if (hit.IsReply()) return Dump({{"type", "reply"}, {"text", ToUtf8(hit.name)}, {"ts", hit.tsMs}});
  return Dump({{"type", "hit"},
               {"name", ToUtf8(hit.name)},
               {"cx", hit.cx},
               {"cy", hit.cy},
               {"w", hit.w},
               {"h", hit.h},
               {"score", Rounded(hit.sq)},
               {"edge", Rounded(hit.edge)},
               {"ts", hit.tsMs}});
}

std::string TextLine(const Hit& hit) {
  const std::string head = UtcTime(hit.tsMs) + "  " + Printable(hit.name);
  if (hit.IsReply()) return head + "  (reply)";
  char figures[128];
  std::snprintf(figures, sizeof figures, "  at %d,%d  size %dx%d  score %.3f  edge %.3f", hit.cx, hit.cy,
                hit.w, hit.h, static_cast<double>(hit.sq), static_cast<double>(hit.edge));
  return head + figures;
}

std::string DroppedJsonLine(std::uint32_t count, std::uint32_t total) {
  return Dump({{"type", "dropped"}, {"count", count}, {"total", total}});
}

}  // namespace quillmark::control
