#include "output/HitLines.h"

#include <cmath>
#include <cstdio>

#include "client/Text.h"
#include "text/Printable.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

// A float's six significant decimals, without the tail that widening to double would show.
double Rounded(float value) {
  return std::round(static_cast<double>(value) * 1e6) / 1e6;
}

}  // namespace

Json JsonOf(const Hit& hit) {
  if (hit.IsReply()) return {{"type", "reply"}, {"text", client::ToUtf8(hit.name)}, {"ts", hit.tsMs}};
  return {{"type", "hit"},
          {"name", client::ToUtf8(hit.name)},
          {"cx", hit.cx},
          {"cy", hit.cy},
          {"w", hit.w},
          {"h", hit.h},
          {"score", Rounded(hit.sq)},
          {"edge", Rounded(hit.edge)},
          {"ts", hit.tsMs}};
}

std::string LineOf(const Hit& hit) {
  const std::string head = UtcTime(hit.tsMs) + "  " + Printable(hit.name);
  if (hit.IsReply()) return head + "  (reply)";
  char figures[128];
  std::snprintf(figures, sizeof figures, "  at %d,%d  size %dx%d  score %.3f  edge %.3f", hit.cx, hit.cy,
                hit.w, hit.h, static_cast<double>(hit.sq), static_cast<double>(hit.edge));
  return head + figures;
}

}  // namespace quillmark::control
