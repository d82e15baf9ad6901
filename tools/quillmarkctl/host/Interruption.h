// Lets a command poll for SIGINT and SIGTERM, or Ctrl+C in a console.
//
// Threading: one thread.
#pragma once

#include <csignal>

namespace quillmark::control::host {

class Interruption {
 public:
  // From here on, these signals no longer end the process.
  Interruption() {
    std::signal(SIGINT, Note);
    std::signal(SIGTERM, Note);
  }
  [[nodiscard]] bool Came() const { return came != 0; }

 private:
  static void Note(int) { came = 1; }
  static inline volatile std::sig_atomic_t came = 0;
};

}  // namespace quillmark::control::host
