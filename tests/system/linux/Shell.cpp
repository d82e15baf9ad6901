#include "linux/Shell.h"

#include <cstdio>

namespace quillmark::test {

std::string Shell(const std::string& commands) {
  std::FILE* const pipe = ::popen(commands.c_str(), "r");
  if (pipe == nullptr) return {};
  std::string out;
  char buffer[4096];
  while (const std::size_t size = std::fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, size);
  if (::pclose(pipe) != 0) return {};
  if (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

}  // namespace quillmark::test
