#include "host/StandardStream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>

#include "host/UniqueFd.h"

namespace quillmark::layer {
namespace {

// Passes the bytes to `take`, which writes some of them or fails; returns how many were written.
template <typename Take>
std::size_t WriteWhatFits(std::string_view bytes, Take take) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = take(bytes.substr(done));
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  return done;
}

std::size_t WriteTo(int fd, std::string_view bytes) {
  return WriteWhatFits(bytes, [fd](std::string_view rest) { return ::write(fd, rest.data(), rest.size()); });
}

bool HasRoom(int fd) {
  pollfd asked{fd, POLLOUT, 0};
  return ::poll(&asked, 1, 0) == 1 && (asked.revents & POLLOUT) != 0;
}

std::size_t WriteWithoutWaiting(int fd, std::string_view bytes) {
  struct stat facts {};
  if (::fstat(fd, &facts) != 0) return 0;
  if (S_ISREG(facts.st_mode)) return WriteTo(fd, bytes);  // opened again, it would have its own position
  if (S_ISSOCK(facts.st_mode)) {
    return WriteWhatFits(bytes, [fd](std::string_view rest) {
      return ::send(fd, rest.data(), rest.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    });
  }
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  const UniqueFd own(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (own) return WriteTo(own.Get(), bytes);
  return WriteWhatFits(bytes, [fd](std::string_view rest) -> ssize_t {
    return HasRoom(fd) ? ::write(fd, rest.data(), std::min<std::size_t>(rest.size(), PIPE_BUF)) : 0;
  });
}

}  // namespace

StandardStream& StandardStream::Output() {
  // Never destroyed: threads print until the process ends.
  static auto* output = new StandardStream(STDOUT_FILENO);
  return *output;
}

StandardStream& StandardStream::Error() {
  static auto* error = new StandardStream(STDERR_FILENO);
  return *error;
}

std::size_t StandardStream::Write(std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (torn_) torn_ = WriteWithoutWaiting(fd_, "\n") == 0;
  const std::size_t taken = torn_ ? 0 : WriteWithoutWaiting(fd_, line);
  if (taken < line.size()) {
    ++lostLines_;
    torn_ = torn_ || taken > 0;
  }
  return taken;
}

std::uint64_t StandardStream::LostLines() const {
  const std::lock_guard lock(mutex_);
  return lostLines_;
}

}  // namespace quillmark::layer
