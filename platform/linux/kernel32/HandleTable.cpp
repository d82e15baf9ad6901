#include "kernel32/HandleTable.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace quillmark::layer {
namespace {

struct HandleTable {
  std::mutex mutex;
  std::unordered_map<std::uintptr_t, std::shared_ptr<KernelObject>> objects;
  std::uintptr_t last = 0;
};

// Never destroyed: threads and static objects of the product still use handles while the process exits.
HandleTable& Table() {
  static auto* table = new HandleTable;
  return *table;
}

}  // namespace

DWORD KernelObject::Wait(DWORD) {
  return Fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
}

HANDLE InsertHandle(std::shared_ptr<KernelObject> object) {
  HandleTable& table = Table();
  const std::lock_guard lock(table.mutex);
  table.last += 4;  // the platform's handles are multiples of four
  table.objects.emplace(table.last, std::move(object));
  return reinterpret_cast<HANDLE>(table.last);
}

std::shared_ptr<KernelObject> FindHandle(HANDLE handle) {
  HandleTable& table = Table();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(reinterpret_cast<std::uintptr_t>(handle));
  if (found == table.objects.end()) return Fail(ERROR_INVALID_HANDLE, nullptr);
  return found->second;
}

}  // namespace quillmark::layer

extern "C" BOOL WINAPI CloseHandle(HANDLE object) {
  using namespace quillmark::layer;
  std::shared_ptr<KernelObject> closed;  // destroyed after the lock is released
  HandleTable& table = Table();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(reinterpret_cast<std::uintptr_t>(object));
  if (found == table.objects.end()) return Fail(ERROR_INVALID_HANDLE, FALSE);
  closed = std::move(found->second);
  table.objects.erase(found);
  return TRUE;
}

extern "C" DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD timeoutMs) {
  const auto found = quillmark::layer::FindHandle(object);
  return found ? found->Wait(timeoutMs) : WAIT_FAILED;
}
