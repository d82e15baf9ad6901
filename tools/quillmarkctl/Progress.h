// A bar on standard error that shows how far a command has come: on a terminal only, and only when the work
// takes longer than a second.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace quillmark::control {

class Progress {
 public:
  // `whole` is what `done` comes to in the end.
  Progress(std::string what, std::int64_t whole);
  ~Progress() { End(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(std::int64_t done);
  // Takes the bar away.
  void End();

 private:
  using Clock = std::chrono::steady_clock;

  const std::string what;
  const std::int64_t whole;
  const bool onTerminal;
  Clock::time_point next;  // before it nothing is drawn
  bool drawn = false;
};

}  // namespace quillmark::control
