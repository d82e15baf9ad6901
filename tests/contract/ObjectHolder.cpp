// The other process of the named-object tests. It obeys one line of standard input at a time and answers each
// with one line: "new", "existing", "error CODE", or a number. It holds what it made until it ends, which it
// does when its input ends.
#include <windows.h>

#include <cstdint>
#include <iostream>
#include <sstream>
#include <string>

namespace {

HANDLE object = nullptr;
void* view = nullptr;

std::string Outcome(HANDLE created) {
  const DWORD error = ::GetLastError();
  object = created;
  if (!created) return "error " + std::to_string(error);
  return error == ERROR_ALREADY_EXISTS ? "existing" : "new";
}

std::string Obey(const std::string& line) {
  std::istringstream words(line);
  std::string verb, name;
  std::uint32_t number = 0;
  words >> verb;
  if (verb == "wait") {
    words >> number;
    return std::to_string(::WaitForSingleObject(object, number));
  }
  if (verb == "set") return std::to_string(::SetEvent(object));
  if (verb == "read") return std::to_string(*static_cast<volatile std::uint32_t*>(view));
  if (verb == "write") {
    words >> number;
    *static_cast<volatile std::uint32_t*>(view) = number;
    return std::to_string(number);
  }
  words >> name >> number;
  const std::wstring wide(name.begin(), name.end());
  if (verb == "mutex") return Outcome(::CreateMutexW(nullptr, number != 0, wide.c_str()));
  if (verb == "event") return Outcome(::CreateEventW(nullptr, FALSE, FALSE, wide.c_str()));
  if (verb != "section") return "error unknown";
  const std::string outcome =
      Outcome(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, number, wide.c_str()));
  if (object) view = ::MapViewOfFile(object, FILE_MAP_ALL_ACCESS, 0, 0, 0);
  return outcome;
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);) std::cout << Obey(line) << std::endl;
  return 0;
}
