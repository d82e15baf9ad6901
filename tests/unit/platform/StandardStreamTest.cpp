// Output that nobody reads.
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

// Replaces standard error with a full socket or a stopped terminal.
class FullStream {
 public:
  explicit FullStream(bool asTerminal)
      : isTerminal(asTerminal), saved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    int ends[2];  // to read, to write
    termios raw{};
    ::cfmakeraw(&raw);
    const int made = isTerminal ? ::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr)
                                : ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
    if (made != 0) throw std::system_error(errno, std::generic_category());
    readEnd = ends[0];
    ::dup2(ends[1], STDERR_FILENO);
    ::close(ends[1]);
    if (isTerminal) {
      ::tcflow(STDERR_FILENO, TCOOFF);
      return;
    }
    const std::string page(4096, 'x');
    while (::send(STDERR_FILENO, page.data(), page.size(), MSG_DONTWAIT) > 0) {
    }
  }
  ~FullStream() {
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(readEnd);
  }

  // Everything written so far.
  std::string Read() {
    if (isTerminal) ::tcflow(STDERR_FILENO, TCOON);
    ::fcntl(readEnd, F_SETFL, O_NONBLOCK);
    std::string all;
    char bytes[4096];
    for (ssize_t size; (size = ::read(readEnd, bytes, sizeof bytes)) > 0;) {
      all.append(bytes, static_cast<std::size_t>(size));
    }
    return all;
  }

  // Writes a line; returns whether that ends before anything is read.
  bool Takes(const std::string& line) {
    const auto ended = std::async(std::launch::async, [&] { ::OutputDebugStringA(line.c_str()); });
    const bool byItself = ended.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    while (ended.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) (void)Read();
    return byItself;
  }

 private:
  const bool isTerminal;
  const int saved;
  int readEnd = -1;
};

TEST(StandardStream, LosesLinesInsteadOfWaitingAndWritesTheNextWhole) {
  for (const bool terminal : {false, true}) {
    FullStream stream(terminal);
    const std::uint64_t before = StandardStream::Error().LostLines();
    EXPECT_TRUE(stream.Takes("lost"));
    EXPECT_EQ(StandardStream::Error().LostLines() - before, 1u);
    EXPECT_EQ(::fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK, 0) << "others share the mode";
    EXPECT_EQ(stream.Read().find("lost"), std::string::npos);
    ::OutputDebugStringW(L"found");
    EXPECT_EQ(stream.Read(), "found\n");
  }
}

TEST(StandardStream, EndsATornLineBeforeTheNext) {
  FullStream stream(false);
  (void)stream.Read();
  EXPECT_TRUE(stream.Takes(std::string(4'000'000, 'y')));
  const std::string torn = stream.Read();
  EXPECT_GT(torn.size(), 4096u);
  EXPECT_EQ(torn.find('\n'), std::string::npos);
  ::OutputDebugStringW(L"found");
  EXPECT_EQ(stream.Read(), "\nfound\n");
}

}  // namespace
}  // namespace quillmark::layer
