#include "host/Utf8.h"

#include <windows.h>

// After windows.h, which it builds on.
#include <shellapi.h>

#include <cstdio>
#include <memory>

#include "client/Text.h"

namespace quillmark::control::host {

// argv is in the system's code page where the manifest's UTF-8 is not known, before Windows 10 1903.
std::vector<std::string> Arguments(int argc, const char* const* argv) {
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&::LocalFree)> wide(
      ::CommandLineToArgvW(::GetCommandLineW(), &count), &::LocalFree);
  if (wide == nullptr) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(client::ToUtf8(wide.get()[i]));
  return arguments;
}

void PrintUtf8() {
  // The console keeps the code page for the programs after this one.
  struct Restore {
    const UINT before = ::GetConsoleOutputCP();
    ~Restore() {
      if (before != 0) ::SetConsoleOutputCP(before);
    }
  };
  static const Restore restore;
  ::SetConsoleOutputCP(CP_UTF8);
  // Without a buffer the run-time library gives the console single bytes, of which it makes no characters.
  for (std::FILE* const stream : {stdout, stderr}) std::setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
}

}  // namespace quillmark::control::host
