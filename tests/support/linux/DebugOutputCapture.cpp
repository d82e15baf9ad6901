// The layer writes debugger output to standard error, which a pipe replaces. Everything read from it is still
// printed.
#include "support/DebugOutputCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <thread>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace quillmark::test {

namespace {

// Enough for all that a test logs at once: the layer does not wait for a reader.
constexpr int PipeBytes = 1 << 20;

int Checked(int result, const char* call) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), call);
  return result;
}

// A sanitizer report ends the process before a pipe is read, so it bypasses the capture.
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

struct DebugOutputCapture::Host {
  int savedOutput = -1;  // where the output went before
  int readEnd = -1;
  std::thread reader;

  void ReadUntilClosed(DebugOutputCapture& capture) {
    char buffer[4096];
    for (;;) {
      const ssize_t size = ::read(readEnd, buffer, sizeof buffer);
      if (size < 0 && errno == EINTR) continue;
      if (size <= 0) break;
      WriteAll(savedOutput, buffer, static_cast<std::size_t>(size));
      capture.Collect({buffer, static_cast<std::size_t>(size)});
    }
  }
};

DebugOutputCapture::DebugOutputCapture() : host(std::make_unique<Host>()) {
  std::fflush(stderr);
  host->savedOutput = Checked(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3), "fcntl");
  int ends[2];
  Checked(::pipe2(ends, O_CLOEXEC), "pipe2");
  Checked(::fcntl(ends[1], F_SETPIPE_SZ, PipeBytes), "fcntl");
  host->readEnd = ends[0];
  SendSanitizerReportsTo(host->savedOutput);
  Checked(::dup2(ends[1], STDERR_FILENO), "dup2");
  ::close(ends[1]);
  host->reader = std::thread([this] { host->ReadUntilClosed(*this); });
}

DebugOutputCapture::~DebugOutputCapture() {
  std::fflush(stderr);
  // This closes the pipe's last writing end, which ends the reader.
  ::dup2(host->savedOutput, STDERR_FILENO);
  host->reader.join();
  SendSanitizerReportsTo(STDERR_FILENO);
  ::close(host->readEnd);
  ::close(host->savedOutput);
}

}  // namespace quillmark::test
