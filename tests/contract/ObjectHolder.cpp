// The other process of the named-object tests. It executes one line of standard input at a time and answers
// with one line. It keeps its objects until its input ends.
#include <windows.h>

#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>

#include "platform/UniqueHandle.h"

namespace {

struct Section {
  explicit Section(const std::wstring& name)
      : handle(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, name.c_str())),
        made(::GetLastError() != ERROR_ALREADY_EXISTS),
        view(::MapViewOfFile(handle.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0)),
        words(static_cast<volatile std::uint32_t*>(view.Get())) {}

  const quillmark::UniqueHandle handle;
  const bool made;
  const quillmark::UniqueView view;
  volatile std::uint32_t* const words;
};

// Keeps opening and closing a section that other processes open, close and are killed with. A new one must be
// zeroed, and while it is held its name must lead to it. Only this process writes the word at `index`.
std::string Churn(const std::wstring& name, std::uint32_t index, std::uint32_t rounds) {
  for (std::uint32_t round = 1; round <= rounds; ++round) {
    const Section first(name);
    if (!first.words) return "cannot be opened, error " + std::to_string(::GetLastError());
    if (first.made && first.words[index] != 0) return "new but not zeroed";
    first.words[index] = round;
    const Section second(name);
    if (!second.words) return "cannot be opened again, error " + std::to_string(::GetLastError());
    if (second.made) return "held, but new";
    if (second.words[index] != round || first.words[index] != round) return "two objects of one name";
  }
  return "ok";
}

std::string Obey(const std::string& line) {
  static HANDLE object = nullptr;
  std::istringstream words(line);
  std::string verb, name;
  std::uint32_t number = 0, rounds = 0;
  words >> verb;
  if (verb == "wait") {
    words >> number;
    return std::to_string(::WaitForSingleObject(object, number));
  }
  if (verb == "set") return std::to_string(::SetEvent(object));
  words >> name >> number >> rounds;
  const std::wstring wide(name.begin(), name.end());
  if (verb == "churn") return Churn(wide, number, rounds);
  if (verb == "section") {
    static const Section section(wide);
    section.words[0] = number;
    return section.made ? "new" : "existing";
  }
  object = verb == "mutex" ? ::CreateMutexW(nullptr, TRUE, wide.c_str())
                           : ::CreateEventW(nullptr, FALSE, FALSE, wide.c_str());
  return ::GetLastError() == ERROR_ALREADY_EXISTS ? "existing" : "new";
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);) std::cout << Obey(line) << std::endl;
  return 0;
}
