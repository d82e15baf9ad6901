#include <cstdlib>
#include <mutex>

#include "desktop/Desktop.h"
#include "desktop/EmptyDesktop.h"

namespace quillmark::layer {
namespace {

struct Holder {
  std::mutex mutex;
  std::shared_ptr<Desktop> desktop;
};

Holder& TheHolder() {
  static Holder holder;
  return holder;
}

std::shared_ptr<Desktop> OpenDesktop() {
  return std::make_shared<EmptyDesktop>();
}

}  // namespace

std::shared_ptr<Desktop> CurrentDesktop() {
  Holder& holder = TheHolder();
  const std::lock_guard lock(holder.mutex);
  if (!holder.desktop) {
    holder.desktop = OpenDesktop();
    holder.desktop->OnDisplayChange(BroadcastDisplayChange);
  }
  return holder.desktop;
}

void SetDesktop(std::shared_ptr<Desktop> desktop) {
  if (desktop) desktop->OnDisplayChange(BroadcastDisplayChange);
  std::shared_ptr<Desktop> old = std::move(desktop);
  {
    Holder& holder = TheHolder();
    const std::lock_guard lock(holder.mutex);
    holder.desktop.swap(old);
  }
  // Outside the lock: the old desktop may have a listener under way that asks for the current one.
  if (old) old->OnDisplayChange(nullptr);
}

}  // namespace quillmark::layer
