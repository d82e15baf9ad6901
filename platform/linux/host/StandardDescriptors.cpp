// Linked into a program: opens the standard descriptors that it was started without. Otherwise the next files
// that it opens, such as a shared object's, would get descriptors 0 to 2, and with them the program's output.
#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace {

// Runs before other initialisation, which may open files. The access modes are reversed, so that reading and
// writing fail as on a closed descriptor.
[[gnu::constructor(101)]] void FillStandardDescriptors() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(fd, F_GETFD) >= 0) continue;
    if (::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) != fd) return;
  }
}

}  // namespace
