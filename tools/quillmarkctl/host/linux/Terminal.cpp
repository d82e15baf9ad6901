#include "host/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace quillmark::control::host {

bool IsTerminal(Stream stream) {
  const char* const kind = std::getenv("TERM");
  if (kind == nullptr || std::string_view(kind) == "dumb") return false;
  return ::isatty(stream == Stream::Out ? STDOUT_FILENO : STDERR_FILENO) == 1;
}

int TerminalWidth() {
  winsize size{};
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    if (::ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  }
  return 80;
}

std::string ShellQuoted(const std::string& word) {
  constexpr std::string_view plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_./:,=+@%";
  if (!word.empty() && word.find_first_not_of(plain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char byte : word) quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
  return quoted + "'";
}

}  // namespace quillmark::control::host
