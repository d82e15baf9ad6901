#include "support/DebugOutputCapture.h"

#include <algorithm>
#include <chrono>

namespace quillmark::test {

std::vector<std::string> DebugOutputCapture::Lines() const {
  const std::lock_guard lock(mutex);
  return lines;
}

std::size_t DebugOutputCapture::Count(std::string_view substring) const {
  const std::lock_guard lock(mutex);
  return CountLocked(substring);
}

bool DebugOutputCapture::WaitForCount(std::string_view substring, std::size_t count) const {
  // Thousands of lines may come before the expected one, and a host may need milliseconds for each.
  constexpr std::chrono::seconds patience{40};
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, patience, [&] { return CountLocked(substring) >= count; });
}

std::size_t DebugOutputCapture::CountLocked(std::string_view substring) const {
  return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
    return line.find(substring) != std::string::npos;
  }));
}

void DebugOutputCapture::Collect(std::string_view bytes) {
  const std::lock_guard lock(mutex);
  rest.append(bytes);
  std::size_t end;
  while ((end = rest.find('\n')) != std::string::npos) {
    lines.push_back(rest.substr(0, end));
    rest.erase(0, end + 1);
  }
  changed.notify_all();
}

}  // namespace quillmark::test
