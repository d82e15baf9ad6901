#include <atomic>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <utility>

#include "desktop/Desktop.h"
#include "desktop/X11Desktop.h"

namespace quillmark::layer {
namespace {

struct Holder {
  std::mutex mutex;
  std::shared_ptr<Desktop> desktop;
  std::atomic<void (*)()> listener = nullptr;
  const std::shared_ptr<Desktop> empty = std::make_shared<Desktop>();  // without a screen
};

// Never destroyed: threads may ask for the desktop until the process has ended.
Holder& TheHolder() {
  static Holder& holder = *new Holder;
  return holder;
}

// Ends the desktop's threads in order when the process exits.
struct Closer {
  ~Closer() { SetDesktop(TheHolder().empty); }
};

std::shared_ptr<Desktop> OpenDesktop() {
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') return TheHolder().empty;
  return std::make_shared<X11Desktop>(display);
}

}  // namespace

std::shared_ptr<Desktop> CurrentDesktop() {
  static const Closer closer;
  Holder& holder = TheHolder();
  const std::lock_guard lock(holder.mutex);
  if (holder.desktop) return holder.desktop;
  try {
    holder.desktop = OpenDesktop();
  } catch (const std::exception&) {
    // No descriptor, thread or memory is left.
    return holder.empty;
  }
  holder.desktop->OnDisplayChange(holder.listener.load());
  return holder.desktop;
}

void SetDesktop(std::shared_ptr<Desktop> desktop) {
  Holder& holder = TheHolder();
  std::shared_ptr<Desktop> old;
  {
    const std::lock_guard lock(holder.mutex);
    old = std::exchange(holder.desktop, desktop);
  }
  // Outside the lock: a listener of the old desktop may be asking for the current one.
  if (old && old != desktop) old->OnDisplayChange(nullptr);
  if (desktop) desktop->OnDisplayChange(holder.listener.load());
}

void OnDisplayChange(void (*listener)()) {
  TheHolder().listener = listener;
  CurrentDesktop()->OnDisplayChange(listener);
}

}  // namespace quillmark::layer
