#include <windows.h>

#include <string>
#include <utility>

#include "host/StandardStream.h"
#include "host/Text.h"

namespace {

// One write per call, so that lines of several threads and processes do not mix.
void WriteLine(std::string line) {
  if (line.empty() || line.back() != '\n') line.push_back('\n');
  quillmark::layer::StandardStream::Error().Write(line);
}

}  // namespace

extern "C" void WINAPI OutputDebugStringW(LPCWSTR text) {
  if (text) WriteLine(quillmark::layer::ToUtf8(text));
}

extern "C" void WINAPI OutputDebugStringA(LPCSTR text) {
  if (text) WriteLine(text);
}
