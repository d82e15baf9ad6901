// Standard output or standard error, written to without ever blocking: if nobody reads the pipe or the
// terminal is stopped, lines are lost and counted.
//
// The descriptor's mode does not change, since other processes share it: pipes and terminals are opened
// again, non-blocking, for each line. So a line of up to 4 KiB goes into a pipe whole or not at all, even
// with other writers. If opening is not allowed (another user's pipe), the stream is polled for room first,
// and another writer may then take that room.
//
// Threading: any thread; lines of different threads do not mix.
#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>

namespace quillmark::layer {

class StandardStream {
 public:
  static StandardStream& Output();
  static StandardStream& Error();

  StandardStream(const StandardStream&) = delete;
  StandardStream& operator=(const StandardStream&) = delete;

  // Writes a line, which includes its end; returns the number of bytes written. Ends a torn line first.
  std::size_t Write(std::string_view line);
  // Lines lost in whole or in part.
  std::uint64_t LostLines() const;

 private:
  explicit StandardStream(int fd) : fd_(fd) {}

  const int fd_;
  mutable std::mutex mutex_;  // guards the rest
  bool torn_ = false;         // the last line lacks its end
  std::uint64_t lostLines_ = 0;
};

}  // namespace quillmark::layer
