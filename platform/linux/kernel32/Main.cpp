// The host's entry of a program whose own entry is the platform's wide one.
#include <csignal>

extern "C" int wmain();

int main() {
  // A reader of standard error that goes away must not take the program with it.
  std::signal(SIGPIPE, SIG_IGN);
  return wmain();
}
