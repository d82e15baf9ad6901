#include <windows.h>

#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "host/Text.h"

namespace {

// One write for a call, so that lines of several threads and processes do not mix; the rest of a line that
// the reader takes in pieces follows. A standard error that takes nothing loses the line, as a debugger that
// is not there does.
void WriteLine(std::string line) {
  if (line.empty() || line.back() != '\n') line.push_back('\n');
  std::size_t done = 0;
  while (done < line.size()) {
    const ssize_t count = ::write(STDERR_FILENO, line.data() + done, line.size() - done);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace

extern "C" void WINAPI OutputDebugStringW(LPCWSTR text) {
  if (text) WriteLine(quillmark::layer::ToUtf8(text));
}

extern "C" void WINAPI OutputDebugStringA(LPCSTR text) {
  if (text) WriteLine(text);
}
