#include "output/HitLines.h"

#include <cmath>
#include <cstdio>

#include "client/Text.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

// Six decimals, as many as a float has.
double Rounded(float value) {
  return std::round(static_cast<double>(value) * 1e6) / 1e6;
}

}  // namespace

Json JsonOf(const Record& hit) {
  if (hit.kind == Record::Kind::Reply) return {{"type", "reply"}, {"text", hit.name}, {"ts", hit.tsMs}};
  return {{"type", "hit"},
          {"name", hit.name},
          {"cx", hit.cx},
          {"cy", hit.cy},
          {"w", hit.w},
          {"h", hit.h},
          {"score", Rounded(hit.score)},
          {"edge", Rounded(hit.edge)},
          {"ts", hit.tsMs}};
}

std::string ShownName(const Record& hit) {
  return Printable(client::ToWide(hit.name).value_or(std::wstring()));
}

std::string LineOf(const Record& hit) {
  const std::string head = UtcTime(hit.tsMs) + "  " + ShownName(hit);
  if (hit.kind == Record::Kind::Reply) return head + "  (reply)";
  char figures[128];
  std::snprintf(figures, sizeof figures, "  at %d,%d  size %dx%d  score %.3f  edge %.3f", hit.cx, hit.cy,
                hit.w, hit.h, static_cast<double>(hit.score), static_cast<double>(hit.edge));
  return head + figures;
}

}  // namespace quillmark::control
