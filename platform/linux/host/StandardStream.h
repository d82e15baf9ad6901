// Standard output or standard error, written to without ever blocking: when nobody reads the pipe, or the
// terminal is stopped, lines are lost and counted.
//
// The mode of the descriptor stays as it is, since other processes share it: pipes and terminals are opened
// once more, without blocking, for each line. So a line of up to 4 KiB goes into a pipe whole or not at all,
// whoever else writes there. Where opening is not allowed (a pipe of another user), the stream is asked for
// room first; another writer can then still take that room in between.
//
// Threading: any thread; lines of several threads do not mix.
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

  // Writes a line with its line end; how many of its bytes were taken. A torn line is ended before the next.
  std::size_t Write(std::string_view line);
  // Lines lost, whole or in part.
  std::uint64_t LostLines() const;

 private:
  explicit StandardStream(int fd) : fd_(fd) {}

  const int fd_;
  mutable std::mutex mutex_;  // guards the rest
  bool torn_ = false;         // the last line lacks its end
  std::uint64_t lostLines_ = 0;
};

}  // namespace quillmark::layer
