// The host's entry point for a program with the platform's wide entry point.
#include <malloc.h>

#include <csignal>

extern "C" int wmain();

namespace {

// Freed blocks above this size return to the system. Left alone, the allocator raises the limit to the
// largest block ever freed, up to 32 MiB, and every thread then keeps twice as much. The images of a Full HD
// monitor are smaller and are reused from frame to frame.
constexpr int kKeptBlockBytes = 8 << 20;

}  // namespace

int main() {
  // The program survives if the reader of its standard error goes away.
  std::signal(SIGPIPE, SIG_IGN);
  ::mallopt(M_MMAP_THRESHOLD, kKeptBlockBytes);
  ::mallopt(M_TRIM_THRESHOLD, 2 * kKeptBlockBytes);
  return wmain();
}
