#include "Files.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace quillmark::control {

namespace fs = std::filesystem;

fs::path PathOf(const std::string& utf8) {
  return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string Utf8Of(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::optional<std::string> ContentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::string content{std::istreambuf_iterator<char>(stream), {}};
  if (stream.bad()) return std::nullopt;
  return content;
}

void WriteFile(const fs::path& file, const std::string& content) {
  // To open a named pipe would wait for its reader. A pipe that a link in /dev leads to is open already.
  std::error_code unknown;
  if (fs::is_fifo(fs::symlink_status(file, unknown))) {
    throw std::runtime_error(Utf8Of(file) + " is a named pipe, no file");
  }
  std::ofstream stream(file, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) throw std::runtime_error(Utf8Of(file) + " cannot be written");
}

void ReplaceFile(const fs::path& file, const std::string& content) {
  fs::path fresh = file;
  fresh += ".new";
  WriteFile(fresh, content);
  fs::rename(fresh, file);
}

}  // namespace quillmark::control
