// Output while nobody reads it.
#include "host/StandardStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/socket.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <future>
#include <string>
#include <system_error>

namespace quillmark::layer {
namespace {

enum class Kind { Pipe, Socket, Terminal };

// Replaces standard error with a full stream.
class FullStream {
 public:
  explicit FullStream(Kind how) : kind(how), saved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    int ends[2];  // to read, to write
    termios raw{};
    ::cfmakeraw(&raw);
    const int made = kind == Kind::Pipe     ? ::pipe2(ends, O_CLOEXEC)
                     : kind == Kind::Socket ? ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends)
                                            : ::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr);
    if (made != 0) throw std::system_error(errno, std::generic_category());
    readEnd = ends[0];
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[1]);
    if (kind == Kind::Terminal) {
      ::tcflow(STDERR_FILENO, TCOOFF);
      return;
    }
    const std::string page(4096, 'x');
    ::fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    while (::write(STDERR_FILENO, page.data(), page.size()) > 0) {
    }
    ::fcntl(STDERR_FILENO, F_SETFL, 0);
  }
  ~FullStream() {
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(readEnd);
  }

  // Everything written so far.
  std::string Read() {
    if (kind == Kind::Terminal) ::tcflow(STDERR_FILENO, TCOON);
    ::fcntl(readEnd, F_SETFL, O_NONBLOCK);
    std::string all;
    char bytes[4096];
    for (ssize_t size; (size = ::read(readEnd, bytes, sizeof bytes)) > 0;) {
      all.append(bytes, static_cast<std::size_t>(size));
    }
    return all;
  }

  // Whether the act ends before anything is read.
  template <typename Act>
  bool LetsEnd(Act act) {
    std::future<void> ended = std::async(std::launch::async, act);
    const bool byItself = ended.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    while (ended.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) (void)Read();
    return byItself;
  }

 private:
  const Kind kind;
  const int saved;
  int readEnd = -1;
};

TEST(StandardStream, LosesLinesInsteadOfWaitingAndWritesTheNextWhole) {
  for (const Kind kind : {Kind::Pipe, Kind::Socket, Kind::Terminal}) {
    SCOPED_TRACE(static_cast<int>(kind));
    FullStream stream(kind);
    const std::uint64_t before = StandardStream::Error().LostLines();
    EXPECT_TRUE(stream.LetsEnd([] {
      for (int i = 0; i < 3; ++i) ::OutputDebugStringW(L"lost");
    }));
    EXPECT_EQ(StandardStream::Error().LostLines() - before, 3u);
    EXPECT_EQ(::fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK, 0) << "others share the mode";
    EXPECT_EQ(stream.Read().find("lost"), std::string::npos);
    ::OutputDebugStringW(L"found");
    EXPECT_EQ(stream.Read(), "found\n");
  }
}

TEST(StandardStream, EndsATornLineBeforeTheNext) {
  for (const Kind kind : {Kind::Pipe, Kind::Socket}) {
    FullStream stream(kind);
    (void)stream.Read();
    EXPECT_TRUE(stream.LetsEnd([] { ::OutputDebugStringA(std::string(4'000'000, 'y').c_str()); }));
    const std::string torn = stream.Read();
    EXPECT_GT(torn.size(), 4096u);
    EXPECT_EQ(torn.find('\n'), std::string::npos);
    ::OutputDebugStringW(L"found");
    EXPECT_EQ(stream.Read(), "\nfound\n");
  }
}

}  // namespace
}  // namespace quillmark::layer
