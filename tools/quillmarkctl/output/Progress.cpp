#include "output/Progress.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "host/Terminal.h"

namespace quillmark::control {

namespace {
constexpr auto ShownAfter = std::chrono::seconds(1);
constexpr auto Refresh = std::chrono::milliseconds(100);
constexpr std::size_t Cells = 30;
}  // namespace

Progress::Progress(std::string shownWhat) : what(std::move(shownWhat)) {
  if (host::IsTerminal(host::Stream::Error)) ticker = std::thread([this] { Tick(); });
}

void Progress::Tick() {
  std::unique_lock lock(mutex);
  auto next = start + ShownAfter;
  while (!ending.wait_until(lock, next, [this] { return ended; })) {
    Draw();
    next = Clock::now() + Refresh;
  }
}

void Progress::Draw() {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count();
  const double done = std::min(share.load(std::memory_order_relaxed), 1.0);
  std::string line = what;
  if (done >= 0.0) {
    const auto full = static_cast<std::size_t>(done * Cells);
    char percent[16];
    std::snprintf(percent, sizeof percent, "] %3d %%", static_cast<int>(done * 100.0));
    line += " [" + std::string(full, '#') + std::string(Cells - full, '.') + percent;
  }
  line += ' ' + std::to_string(seconds) + " s";
  // A wrapped line could not be erased.
  line.resize(std::min(line.size(), static_cast<std::size_t>(host::TerminalWidth() - 1)));
  if (line == drawn) return;
  std::fprintf(terminal, "\r%s\033[K", line.c_str());
  std::fflush(terminal);
  drawn = std::move(line);
}

void Progress::Erase() {
  if (drawn.empty()) return;
  std::fprintf(terminal, "\r\033[K");
  std::fflush(terminal);
  drawn.clear();
}

void Progress::End() {
  if (!ticker.joinable()) return;
  {
    const std::lock_guard lock(mutex);
    ended = true;
  }
  ending.notify_one();
  ticker.join();
  Erase();
}

}  // namespace quillmark::control
