// A thread that ends must destroy its thread_local objects before their memory is freed. GCC's run-time
// library for mingw-w64 does both by keys of the thread library, which are served in the order of their
// creation, and creates the memory's key first: at the first use of such an object. So the key of the
// destructors is created here, before anything else runs in the program or library.
#include <cxxabi.h>

namespace {

void Nothing(void*) {}

[[gnu::constructor(101)]] void CreateKey() {
  abi::__cxa_thread_atexit(&Nothing, nullptr, nullptr);
}

}  // namespace
