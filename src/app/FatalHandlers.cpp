#include "app/FatalHandlers.h"

#include <windows.h>

#include <cstdio>
#include <exception>
#include <thread>

namespace quillmark {

int RunGuarded(const std::function<int()>& body, std::chrono::milliseconds pause) {
  try {
    return body();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "[FATAL] Unhandled std::exception: %s\n", error.what());
    ::OutputDebugStringA(error.what());
    std::this_thread::sleep_for(pause);
    return 1;
  } catch (...) {
    std::fprintf(stderr, "[FATAL] Unknown exception in wmain()\n");
    ::OutputDebugStringA("[FATAL] Unknown exception");
    std::this_thread::sleep_for(pause);
    return 2;
  }
}

}  // namespace quillmark
