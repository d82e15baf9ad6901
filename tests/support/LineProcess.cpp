#include "support/LineProcess.h"

namespace quillmark::test {

std::string LineProcess::Hear() {
  while (true) {
    const std::size_t end = heard.find('\n');
    if (end != std::string::npos) {
      std::string line = heard.substr(0, end);
      heard.erase(0, end + 1);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      return line;
    }
    char bytes[256];
    const std::size_t count = Read(bytes, sizeof bytes);
    if (count == 0) return "";
    heard.append(bytes, count);
  }
}

}  // namespace quillmark::test
