#include "host/Utf8.h"

#include <windows.h>

// After windows.h, which it builds on.
#include <shellapi.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <streambuf>
#include <string_view>

#include "client/Text.h"

namespace quillmark::control::host {

namespace {

// The length of the text without an incomplete last character.
std::size_t WholeCharacters(std::string_view utf8) {
  std::size_t first = utf8.size();  // of the last character
  while (first > 0 && utf8.size() - first < 4 && (utf8[first - 1] & 0xC0) == 0x80) --first;
  if (first == 0) return utf8.size();
  const auto lead = static_cast<unsigned char>(utf8[first - 1]);
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
  return utf8.size() - (first - 1) < length ? first - 1 : utf8.size();
}

// Writes a stream's UTF-8 to a console as wide text, which is independent of code pages and never splits a
// character. The destructor restores the stream's own buffer.
class ConsoleBuffer : public std::streambuf {
 public:
  ConsoleBuffer(std::ostream& itsStream, HANDLE itsConsole)
      : stream(itsStream), console(itsConsole), before(itsStream.rdbuf(this)) {}
  ~ConsoleBuffer() override {
    stream.flush();
    stream.rdbuf(before);
  }

 protected:
  int_type overflow(int_type byte) override {
    if (!traits_type::eq_int_type(byte, traits_type::eof())) text += traits_type::to_char_type(byte);
    return traits_type::not_eof(byte);
  }
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    text.append(bytes, static_cast<std::size_t>(count));
    return count;
  }
  int sync() override {
    const std::size_t whole = WholeCharacters(text);
    const bool written = Write(text.substr(0, whole));
    text.erase(0, whole);
    return written ? 0 : -1;
  }

 private:
  bool Write(const std::string& utf8) const {
    std::wstring wide(utf8.size(), L'\0');
    wide.resize(static_cast<std::size_t>(::MultiByteToWideChar(
        CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), static_cast<int>(wide.size()))));
    constexpr std::size_t Max = 8000;  // a console takes at most 64 KiB at once
    for (std::size_t begin = 0; begin < wide.size();) {
      std::size_t count = std::min(Max, wide.size() - begin);
      if (begin + count < wide.size() && IS_HIGH_SURROGATE(wide[begin + count - 1])) --count;
      DWORD written = 0;
      if (!::WriteConsoleW(console, wide.data() + begin, static_cast<DWORD>(count), &written, nullptr)) {
        return false;
      }
      begin += count;
    }
    return true;
  }

  std::ostream& stream;
  const HANDLE console;
  std::streambuf* const before;
  std::string text;  // not yet written
};

std::unique_ptr<ConsoleBuffer> Redirected(std::ostream& stream, DWORD handle) {
  DWORD mode = 0;
  const HANDLE console = ::GetStdHandle(handle);
  if (!::GetConsoleMode(console, &mode)) return nullptr;
  return std::make_unique<ConsoleBuffer>(stream, console);
}

}  // namespace

// Before Windows 10 1903, argv is in the system's code page: the manifest's UTF-8 is ignored.
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
  static const auto output = Redirected(std::cout, STD_OUTPUT_HANDLE);
  static const auto errors = Redirected(std::cerr, STD_ERROR_HANDLE);
}

}  // namespace quillmark::control::host
