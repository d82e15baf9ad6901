#include "host/Terminal.h"

#include <windows.h>

#include <cstddef>
#include <initializer_list>

namespace quillmark::control::host {
namespace {

HANDLE HandleOf(Stream stream) {
  return ::GetStdHandle(stream == Stream::Out ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

}  // namespace

bool IsTerminal(Stream stream) {
  DWORD mode = 0;
  if (!::GetConsoleMode(HandleOf(stream), &mode)) return false;
  return ::SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

int TerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  for (const Stream stream : {Stream::Out, Stream::Error}) {
    if (!::GetConsoleScreenBufferInfo(HandleOf(stream), &info)) continue;
    return info.srWindow.Right - info.srWindow.Left + 1;
  }
  return 80;
}

// For the C run-time library's parser: a backslash is literal unless a quotation mark follows the
// backslashes. No quoting prevents the shell from expanding %NAME%.
std::string ShellQuoted(const std::string& word) {
  if (!word.empty() && word.find_first_of(" \t&|<>^()%!\"'`;,") == std::string::npos) return word;
  std::string quoted = "\"";
  std::size_t backslashes = 0;
  for (const char byte : word) {
    if (byte == '"') quoted.append(backslashes + 1, '\\');
    backslashes = byte == '\\' ? backslashes + 1 : 0;
    quoted += byte;
  }
  return quoted.append(backslashes, '\\') + '"';
}

}  // namespace quillmark::control::host
