#include "support/DebugOutputCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace quillmark::test {

namespace {

constexpr int PipeBytes = 4096;

int Checked(int result, const char* call) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), call);
  return result;
}

// A report of a sanitizer ends the process before a pipe could be read: it goes past the capture.
void SendSanitizerReportsTo([[maybe_unused]] int fd) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(fd)));
#endif
}

void WriteAll(int fd, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(fd, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace

DebugOutputCapture::DebugOutputCapture() {
  std::fflush(stderr);
  savedOutput = Checked(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3), "fcntl");
  int ends[2];
  Checked(::pipe2(ends, O_CLOEXEC), "pipe2");
  Checked(::fcntl(ends[1], F_SETPIPE_SZ, PipeBytes), "fcntl");
  readEnd = ends[0];
  SendSanitizerReportsTo(savedOutput);
  Checked(::dup2(ends[1], STDERR_FILENO), "dup2");
  ::close(ends[1]);
  reader = std::thread([this] { ReadUntilClosed(); });
}

DebugOutputCapture::~DebugOutputCapture() {
  Resume();
  std::fflush(stderr);
  // This closes the pipe's last writing end, which ends the reader.
  ::dup2(savedOutput, STDERR_FILENO);
  reader.join();
  SendSanitizerReportsTo(STDERR_FILENO);
  ::close(readEnd);
  ::close(savedOutput);
}

std::vector<std::string> DebugOutputCapture::Lines() const {
  const std::lock_guard lock(mutex);
  return lines;
}

std::size_t DebugOutputCapture::Count(std::string_view substring) const {
  const std::lock_guard lock(mutex);
  return CountLocked(substring);
}

bool DebugOutputCapture::WaitForCount(std::string_view substring, std::size_t count,
                                      Clock::time_point deadline) const {
  std::unique_lock lock(mutex);
  return changed.wait_until(lock, deadline, [&] { return CountLocked(substring) >= count; });
}

void DebugOutputCapture::Pause() {
  const std::lock_guard lock(mutex);
  paused = true;
}

void DebugOutputCapture::Resume() {
  {
    const std::lock_guard lock(mutex);
    paused = false;
  }
  changed.notify_all();
}

std::size_t DebugOutputCapture::CountLocked(std::string_view substring) const {
  return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
    return line.find(substring) != std::string::npos;
  }));
}

void DebugOutputCapture::ReadUntilClosed() {
  std::string rest;
  char buffer[PipeBytes];
  for (;;) {
    const ssize_t size = ::read(readEnd, buffer, sizeof buffer);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) break;
    WriteAll(savedOutput, buffer, static_cast<std::size_t>(size));
    rest.append(buffer, static_cast<std::size_t>(size));

    std::unique_lock lock(mutex);
    std::size_t end;
    while ((end = rest.find('\n')) != std::string::npos) {
      lines.push_back(rest.substr(0, end));
      rest.erase(0, end + 1);
    }
    changed.notify_all();
    changed.wait(lock, [this] { return !paused; });
  }
}

}  // namespace quillmark::test
