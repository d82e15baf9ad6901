// File mappings backed by shared memory, and views of them.
#include <windows.h>

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <iterator>
#include <map>
#include <mutex>

#include "kernel32/HandleTable.h"
#include "kernel32/Mapping.h"
#include "kernel32/SharedFile.h"

namespace quillmark::layer {
namespace {

class Section : public KernelObject {
 public:
  explicit Section(std::unique_ptr<SharedFile> file) : file_(std::move(file)) {}
  const SharedFile& File() const { return *file_; }

 private:
  const std::unique_ptr<SharedFile> file_;
};

// A view keeps the section's bytes, but not its name, which ends with the last handle.
struct ViewTable {
  std::mutex mutex;
  std::map<std::uintptr_t, Mapping> views;  // by their first address
};

ViewTable& Views() {
  static auto* table = new ViewTable;  // never destroyed, like the handle table
  return *table;
}

std::size_t WholePages(std::uint64_t size) {
  const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  return static_cast<std::size_t>((size + page - 1) / page * page);
}

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HANDLE WINAPI CreateFileMappingW(HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection,
                                            DWORD sizeHigh, DWORD sizeLow, LPCWSTR name) {
  if (file != INVALID_HANDLE_VALUE || attributes || protection != PAGE_READWRITE) {
    return Fail(ERROR_NOT_SUPPORTED, nullptr);
  }
  const std::uint64_t size = std::uint64_t{sizeHigh} << 32 | sizeLow;
  if (size == 0) return Fail(ERROR_INVALID_PARAMETER, nullptr);
  auto shared = SharedFile::Open(name, ObjectType::Section, size);
  return shared ? InsertHandle(std::make_shared<Section>(std::move(shared))) : nullptr;
}

extern "C" LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow,
                                       SIZE_T length) {
  auto section = FindHandleAs<Section>(mapping);
  if (!section) return nullptr;
  if (access != FILE_MAP_ALL_ACCESS || offsetHigh != 0 || offsetLow != 0) {
    return Fail(ERROR_NOT_SUPPORTED, nullptr);
  }
  // The file's memory consists of whole pages, so the rest of the last one can be mapped too.
  const std::size_t whole = WholePages(section->File().Size());
  if (length > whole || whole == 0) return Fail(ERROR_ACCESS_DENIED, nullptr);
  Mapping view(section->File().Fd(), length == 0 ? whole : WholePages(length));
  if (!view) return Fail(ErrorFromErrno(errno), nullptr);
  void* const data = view.Data();
  const std::lock_guard lock(Views().mutex);
  Views().views.emplace(reinterpret_cast<std::uintptr_t>(data), std::move(view));
  return data;
}

extern "C" BOOL WINAPI UnmapViewOfFile(LPCVOID view) {
  Mapping unmapped;
  {
    const std::lock_guard lock(Views().mutex);
    const auto found = Views().views.find(reinterpret_cast<std::uintptr_t>(view));
    if (found == Views().views.end()) return Fail(ERROR_INVALID_ADDRESS, FALSE);
    unmapped = std::move(found->second);
    Views().views.erase(found);
  }
  return TRUE;
}

extern "C" SIZE_T WINAPI VirtualQuery(LPCVOID address, MEMORY_BASIC_INFORMATION* info, SIZE_T infoSize) {
  if (!info || infoSize < sizeof(*info)) return Fail(ERROR_BAD_LENGTH, SIZE_T{0});
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  const std::lock_guard lock(Views().mutex);
  const auto after = Views().views.upper_bound(wanted);
  if (after == Views().views.begin()) return Fail(ERROR_INVALID_PARAMETER, SIZE_T{0});
  const auto& [base, view] = *std::prev(after);
  const std::size_t offset = (wanted - base) & ~(WholePages(1) - 1);
  if (offset >= view.Size()) return Fail(ERROR_INVALID_PARAMETER, SIZE_T{0});
  *info = {};
  info->AllocationBase = view.Data();
  info->BaseAddress = static_cast<std::byte*>(view.Data()) + offset;
  info->AllocationProtect = PAGE_READWRITE;
  info->RegionSize = view.Size() - offset;
  info->State = MEM_COMMIT;
  info->Protect = PAGE_READWRITE;
  info->Type = MEM_MAPPED;
  return sizeof(*info);
}
