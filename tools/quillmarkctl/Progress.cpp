#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "host/Terminal.h"

namespace quillmark::control {

namespace {
constexpr auto Patience = std::chrono::seconds(1);
constexpr auto Pause = std::chrono::milliseconds(100);
constexpr int Cells = 30;
}  // namespace

Progress::Progress(std::string shownWhat, std::int64_t ofWhole)
    : what(std::move(shownWhat)),
      whole(ofWhole),
      onTerminal(host::IsTerminal(host::Stream::Error)),
      next(Clock::now() + Patience) {}

void Progress::Show(std::int64_t done) {
  if (!onTerminal || whole <= 0 || Clock::now() < next) return;
  next = Clock::now() + Pause;
  const auto share = [&](std::int64_t of) {
    return static_cast<int>(std::clamp(done, std::int64_t{0}, whole) * of / whole);
  };
  const int full = share(Cells);
  const std::string bar = std::string(full, '#') + std::string(Cells - full, '.');
  std::fprintf(stderr, "\r%s [%s] %3d %%", what.c_str(), bar.c_str(), share(100));
  std::fflush(stderr);
  drawn = true;
}

void Progress::End() {
  if (!drawn) return;
  std::fprintf(stderr, "\r%*s\r", static_cast<int>(what.size()) + Cells + 9, "");
  std::fflush(stderr);
  drawn = false;
}

}  // namespace quillmark::control
