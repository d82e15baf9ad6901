// The host's entry of a program whose own entry is the platform's wide one.
#include <malloc.h>

#include <csignal>

extern "C" int wmain();

namespace {

// Freed blocks above this go back to the system. By itself the allocator raises the limit to the largest
// block that was ever freed, up to 32 MiB, and every thread then keeps twice as much for good. The images of
// a Full HD monitor are below and are reused from frame to frame.
constexpr int kKeptBlockBytes = 8 << 20;

}  // namespace

int main() {
  // A reader of standard error that goes away must not take the program with it.
  std::signal(SIGPIPE, SIG_IGN);
  ::mallopt(M_MMAP_THRESHOLD, kKeptBlockBytes);
  ::mallopt(M_TRIM_THRESHOLD, 2 * kKeptBlockBytes);
  return wmain();
}
