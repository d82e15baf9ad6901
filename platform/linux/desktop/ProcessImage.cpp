// The image name of a process, read from /proc.
#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/Desktop.h"
#include "host/Paths.h"
#include "host/Text.h"

namespace quillmark::layer {
namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> CommandLine(const std::string& process) {
  std::vector<std::string> arguments;
  std::string bytes = ReadAll("/proc/" + process + "/cmdline");
  for (std::size_t start = 0; start < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\0', start), bytes.size());
    arguments.push_back(bytes.substr(start, end - start));
    start = end + 1;
  }
  return arguments;
}

std::string_view FileName(std::string_view path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

bool EndsInExe(std::string_view text) {
  constexpr std::string_view ending = ".exe";
  if (text.size() <= ending.size()) return false;
  text.remove_prefix(text.size() - ending.size());
  for (std::size_t i = 0; i < ending.size(); ++i) {
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
    if (c != ending[i]) return false;
  }
  return true;
}

// Programs that run Windows programs.
bool IsCompatibilityLoader(std::string_view name) {
  constexpr std::array<std::string_view, 4> loaders = {"wine64-preloader", "wine-preloader", "wine64",
                                                       "wine"};
  for (const std::string_view loader : loaders) {
    if (name == loader) return true;
  }
  return false;
}

// For a process of another user, whose program cannot be read: its command if that starts with the name that
// the kernel keeps (at most 15 bytes), else that name.
std::string ProgramByCommand(const std::string& process) {
  std::string kept = ReadAll("/proc/" + process + "/comm");
  if (!kept.empty() && kept.back() == '\n') kept.pop_back();
  const std::vector<std::string> command = CommandLine(process);
  const bool agrees = !command.empty() && !kept.empty() && FileName(command[0]).starts_with(kept);
  return agrees ? command[0] : kept;
}

}  // namespace

std::optional<std::wstring> Desktop::ProcessImage(std::uint32_t processId) {
  const std::string process = std::to_string(processId);
  std::string image = ProgramOfProcess(process);
  if (image.empty() && errno == EACCES) image = ProgramByCommand(process);
  if (image.empty()) return std::nullopt;
  if (IsCompatibilityLoader(FileName(image))) {
    for (const std::string& argument : CommandLine(process)) {
      if (EndsInExe(argument)) return FromUtf8(argument);
    }
  }
  if (!EndsInExe(FileName(image))) image += ".exe";
  return FromUtf8(image);
}

}  // namespace quillmark::layer
