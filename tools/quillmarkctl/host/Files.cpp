#include "host/Files.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "text/Printable.h"

namespace quillmark::control::host {

namespace fs = std::filesystem;

std::optional<std::string> ContentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::string content{std::istreambuf_iterator<char>(stream), {}};
  if (stream.bad()) return std::nullopt;
  return content;
}

void WriteFile(const fs::path& file, const std::string& content) {
  std::error_code unknown;
  const fs::file_status there = fs::symlink_status(file, unknown);
  // Opening a named pipe would wait for its reader. A pipe behind a link such as /dev/stdout is already open.
  if (fs::is_fifo(there)) throw std::runtime_error(Utf8Of(file) + " is a named pipe, not a file");

  // The new content replaces a regular, writable file; links and devices are written in place.
  const bool replaced = fs::is_regular_file(there);
  const bool whole = replaced || !fs::exists(there);
  fs::path fresh = file;
  if (whole) fresh += ".new";
  std::ofstream stream;
  if (!replaced || std::ofstream(file, std::ios::app)) stream.open(fresh, std::ios::binary);
  const bool opened = stream.is_open();
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  bool written = opened && stream;
  if (written && whole) {
    std::error_code failed;
    if (replaced) fs::permissions(fresh, there.permissions(), unknown);
    fs::rename(fresh, file, failed);
    written = !failed;
  }
  if (written) return;
  if (opened && whole) fs::remove(fresh, unknown);
  throw std::runtime_error(Utf8Of(file) + " cannot be written");
}

}  // namespace quillmark::control::host
