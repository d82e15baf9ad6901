// A thread must destroy its thread_local objects before their memory is freed. GCC's run-time library for
// mingw-w64 does both with keys of the thread library, in the order in which the keys were created, and
// creates the memory's key first, when such an object is first used. So the destructors' key is created here,
// before anything else runs.
#include <cxxabi.h>

namespace {

void Nothing(void*) {}

[[gnu::constructor(101)]] void CreateKey() {
  abi::__cxa_thread_atexit(&Nothing, nullptr, nullptr);
}

}  // namespace
